// libFuzzer target: the lut2d tool's picture reader (PNG, JPEG, WebP, TIFF, HEIF through
// libvips) on any bytes, with a budget of a million pixels. Every problem must come out as a
// ToolError, a picture that is read has the size it claims, and it goes through the
// conversion to the library's frames.

#include <cstdlib>
#include <span>

#include "readers.h"
#include "tool_error.h"
#include "yuv.h"

namespace {

void expect(bool condition) {
    if (!condition) std::abort();
}

constexpr uint64_t kMaxPixels = 1 << 20;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        const lut2d_tool::DecodedPicture p =
            lut2d_tool::decodePicture(std::span<const uint8_t>(data, size), kMaxPixels, "fuzz");
        const lut2d_tool::RgbImage& img = p.image;
        expect(uint64_t{img.width} * img.height <= kMaxPixels);
        expect(img.pixels.size() == size_t{img.width} * img.height * 3);
        if (img.width % 2 == 0 && img.height % 2 == 0 && img.width > 0 && img.height > 0) {
            (void)lut2d_tool::rgbToYuv(img, lut2d_tool::ChromaOrder::Nv12, img.width);
        }
    } catch (const lut2d_tool::ToolError& e) {
        expect(!e.lines().empty());
    }
    return 0;
}
