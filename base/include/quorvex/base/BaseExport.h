#pragma once

// Exported symbols of quorvexBase; everything else stays hidden.
#if defined(_WIN32)
#if defined(QUORVEX_BUILDING_BASE)
#define QXB_EXPORT __declspec(dllexport)
#else
#define QXB_EXPORT __declspec(dllimport)
#endif
#else
#define QXB_EXPORT __attribute__((visibility("default")))
#endif
