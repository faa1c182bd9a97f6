// Marks what liborvaneimport exports, on every platform.
#pragma once

#if defined(_WIN32)
#if defined(ORVANE_IMPORT_BUILD)
#define ORVANE_IMPORT_EXPORT __declspec(dllexport)
#else
#define ORVANE_IMPORT_EXPORT __declspec(dllimport)
#endif
#else
#define ORVANE_IMPORT_EXPORT __attribute__((visibility("default")))
#endif
