// Pictures to and from 8-bit RGB, through libvips: PNG, JPEG, WebP and TIFF to read and write,
// HEIF to read. EXIF orientation is applied; CMYK, grey, 16-bit and transparent pictures are
// turned into 8-bit sRGB with a note saying so.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "files.h"
#include "raster.h"

namespace lut2d_tool {

struct DecodedPicture {
    RgbImage image;
    // What was reduced on the way, one line each ("16-bit samples reduced to 8 bits").
    std::vector<std::string> notes;
};

// Decodes a picture held in memory. The declared size (upright) is checked against the
// library's limit of 65534 in each direction and against `maxPixels` right after the
// header is read, before any pixel is decoded. Any decoder warning (truncated or corrupt
// data) is an error. Errors are one-line ToolErrors starting with `source`.
DecodedPicture decodePicture(std::span<const uint8_t> bytes, uint64_t maxPixels,
                             const std::string& source);

// Reads and decodes a picture file.
DecodedPicture readPicture(const std::filesystem::path& path, uint64_t maxPixels);

// A picture in the format its name asks for (.png, .jpg/.jpeg, .webp, .tif/.tiff); a
// ToolError for any other name.
std::vector<uint8_t> encodePicture(const RgbImage& img, const std::filesystem::path& name,
                                   int jpegQuality = 95);
// True when encodePicture can write a picture of this name.
bool isWritablePictureName(const std::filesystem::path& name);

// Writes a picture into `out` (by its target's name).
void writePicture(OutputFile& out, const RgbImage& img, int jpegQuality = 95);

// Writes a picture to `path` atomically.
void savePicture(const std::filesystem::path& path, const RgbImage& img, int jpegQuality = 95);

// The picture made even-sized for the library: the last column and row repeated once when
// the width or height is odd, and rows added up to 6 when it would be 4 (the library cannot
// split 4 rows into its bands).
RgbImage extendForLibrary(const RgbImage& img);
// The top-left `width` x `height` of a picture.
RgbImage cropTo(const RgbImage& img, uint32_t width, uint32_t height);

}  // namespace lut2d_tool
