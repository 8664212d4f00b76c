// PNG (libpng) and JPEG (libjpeg-turbo) files to and from 8-bit RGB pictures.
#pragma once

#include <filesystem>

#include "files.h"
#include "raster.h"

namespace lut2d_tool {

enum class FileKind { Png, Jpeg, Raw };

// By the file name: ".png"; ".jpg" or ".jpeg"; anything else holds raw frames.
FileKind fileKindOf(const std::filesystem::path& path);

// Reads a PNG or JPEG picture (by its name). Any PNG colour type and depth is accepted and
// turned into 8-bit sRGB; transparency is composed over black. Errors name the file.
RgbImage readPicture(const std::filesystem::path& path);

// Writes a PNG or JPEG picture (by the OutputFile's target name) into `out`.
void writePicture(OutputFile& out, const RgbImage& img, int jpegQuality = 95);

// Writes a picture to `path` atomically.
void savePicture(const std::filesystem::path& path, const RgbImage& img, int jpegQuality = 95);

}  // namespace lut2d_tool
