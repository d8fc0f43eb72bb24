#pragma once

// Symbols of quorvexCommon are hidden unless marked: the exported interface is a
// deliberate list, not everything that happens to have external linkage.
#if defined(_WIN32)
#if defined(QUORVEX_BUILDING_COMMON)
#define QX_EXPORT __declspec(dllexport)
#else
#define QX_EXPORT __declspec(dllimport)
#endif
#else
#define QX_EXPORT __attribute__((visibility("default")))
#endif
