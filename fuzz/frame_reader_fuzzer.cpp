// libFuzzer target: the lut2d tool's raw-frame and y4m readers on any bytes, with a budget of
// a million pixels. The first byte chooses the reader; for raw frames the next bytes give the
// size, the row pitch and the layout. Every problem must come out as a ToolError, and every
// frame read has the geometry asked for (raw) or declared (y4m), with planes of its size.

#include <cstdlib>
#include <span>

#include "readers.h"
#include "tool_error.h"

namespace {

void expect(bool condition) {
    if (!condition) std::abort();
}

constexpr uint64_t kMaxPixels = 1 << 20;

void expectWhole(const lut2d_tool::YuvFrame& f) {
    expect(f.luma.size() == f.geometry.lumaBytes());
    expect(f.chroma.size() == f.geometry.chromaBytes());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    try {
        if (data[0] % 2 == 0) {
            const lut2d_tool::Y4mClip clip = lut2d_tool::decodeY4m(
                std::span<const uint8_t>(data + 1, size - 1), kMaxPixels, "fuzz.y4m");
            for (const lut2d_tool::YuvFrame& f : clip.frames) {
                expect(f.geometry.width == clip.header.width);
                expect(f.geometry.height == clip.header.height);
                expectWhole(f);
            }
        } else {
            if (size < 6) return 0;
            lut2d_tool::FrameGeometry g;
            g.width = data[1] | (data[2] & 0x0F) << 8;
            g.height = data[3] | (data[4] & 0x0F) << 8;
            g.stride = g.width + (data[2] >> 4) * 2;
            g.order =
                (data[5] & 1) != 0 ? lut2d_tool::ChromaOrder::Nv21 : lut2d_tool::ChromaOrder::Nv12;
            const auto layout = static_cast<lut2d_tool::RawLayout>(data[5] >> 1 & 3);
            const auto frames = lut2d_tool::decodeRawFrames(
                std::span<const uint8_t>(data + 6, size - 6), g, layout, kMaxPixels, "fuzz.yuv");
            for (const lut2d_tool::YuvFrame& f : frames) {
                expect(f.geometry == g);
                expectWhole(f);
            }
        }
    } catch (const lut2d_tool::ToolError& e) {
        expect(!e.lines().empty());
    }
    return 0;
}
