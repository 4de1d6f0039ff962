#pragma once

// Marks the exported interface; everything else in the library has hidden visibility.
#if defined(QUORACCELERATE_BUILDING)
#define QUORACCELERATE_API __attribute__((visibility("default")))
#else
#define QUORACCELERATE_API
#endif
