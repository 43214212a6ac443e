#pragma once

/// Marks what the shared library exports; everything else has hidden visibility.
#if defined(MIVORA_STATIC)
#define MIVORA_EXPORT
#else
#define MIVORA_EXPORT __attribute__((visibility("default")))
#endif
