// Marks what liborvanesdk exports, on every platform.
#pragma once

#if defined(_WIN32)
#if defined(ORVANE_SDK_BUILD)
#define ORVANE_SDK_EXPORT __declspec(dllexport)
#else
#define ORVANE_SDK_EXPORT __declspec(dllimport)
#endif
#define ORVANE_PLUGIN_EXPORT __declspec(dllexport)
#else
#define ORVANE_SDK_EXPORT __attribute__((visibility("default")))
#define ORVANE_PLUGIN_EXPORT __attribute__((visibility("default")))
#endif
