#pragma once

#if defined(QUORCORE_BUILDING)
#define QUORCORE_API __attribute__((visibility("default")))
#else
#define QUORCORE_API
#endif
