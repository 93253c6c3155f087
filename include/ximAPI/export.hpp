// The mark of what the shared library offers to its callers; everything else stays hidden in it.
#pragma once

#if defined(_WIN32)
#define XIM_EXPORT __declspec(dllexport)
#else
#define XIM_EXPORT __attribute__((visibility("default")))
#endif
