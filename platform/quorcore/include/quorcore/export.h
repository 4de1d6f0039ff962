#pragma once

// Default visibility on both sides: the library is built with hidden visibility, and a consumer
// built the same way must still see these declarations as coming from a shared library.
#define QUORCORE_API __attribute__((visibility("default")))
