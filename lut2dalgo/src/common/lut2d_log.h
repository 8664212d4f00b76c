// Logging through the Android log, tag "sw2dlut".
//
// Every line goes through __android_log_print, resolved by the dynamic linker, so a host
// (or a test) that defines its own __android_log_print sees each line.
#pragma once

#include <android/log.h>

#include "orvix_lut2d_version.h"

namespace lut2d {

inline constexpr const char* kLogTag = "sw2dlut";
inline constexpr const char* kVersion = "v" LUT2D_VERSION_STRING;  // in the log banner

}  // namespace lut2d

#define LUT2D_LOGI(...) __android_log_print(ANDROID_LOG_INFO, ::lut2d::kLogTag, __VA_ARGS__)
#define LUT2D_LOGE(...) __android_log_print(ANDROID_LOG_ERROR, ::lut2d::kLogTag, __VA_ARGS__)
