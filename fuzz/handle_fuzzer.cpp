// libFuzzer target: the four handle functions as a camera host calls them. An input chooses a
// mode, a format, a geometry (small frames, now and then one the band records cannot carry), a
// tuning record (made valid from the input and perhaps broken by edits, or taken raw) and up to
// four frames, with record edits, flags and aborts between them. Every plane is allocated to
// its exact size. After each frame:
//   - the status is one a frame can have (0, or 2 for a record edited out of range);
//   - a frame the record disables, in another mode, or refused, is left exactly as it was;
//   - under MemorySanitizer, every byte of both planes is initialised (nothing the library did
//     not compute reached the frame).

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "engine/sw_2dlut_v10.h"

#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#include <sanitizer/msan_interface.h>
#define LUT2D_FUZZ_MSAN 1
#endif
#endif

namespace {

constexpr size_t kRecordWords = sizeof(ISP2DLUTInStruct_V10) / 2;

// A failed expectation: a finding.
void expect(bool condition) {
    if (!condition) std::abort();
}

// Hue nodes about every 512 units and saturation nodes about every 137, each moved a little,
// their reciprocals matching; offsets, shifts and lightness boundaries from the input.
ISP2DLUTInStruct_V10 validRecord(FuzzedDataProvider& in) {
    ISP2DLUTInStruct_V10 r{};
    r.enable = 1;
    r.lut_1d_h[24] = 12288;
    for (int i = 1; i < 24; ++i) {
        r.lut_1d_h[i] = static_cast<uint16_t>(i * 512 + in.ConsumeIntegralInRange(-200, 200));
    }
    for (int i = 0; i < 24; ++i) {
        r.lut_1d_h_inv[i] = static_cast<uint16_t>(16384 / (r.lut_1d_h[i + 1] - r.lut_1d_h[i]));
    }
    r.lut_1d_s[15] = 2048;
    for (int j = 0; j < 15; ++j) {
        r.lut_1d_s[j] = static_cast<uint16_t>(j * 2048 / 15 + in.ConsumeIntegralInRange(0, 60));
    }
    for (int j = 0; j < 15; ++j) {
        r.lut_1d_s_inv[j] = static_cast<uint16_t>(2048 / (r.lut_1d_s[j + 1] - r.lut_1d_s[j]));
    }
    // Offsets: one value and a spread, laid over the grid by a seeded sequence.
    const int base = in.ConsumeIntegralInRange(-511, 511);
    const int spread = in.ConsumeIntegralInRange(0, 511);
    uint32_t state = in.ConsumeIntegral<uint32_t>() | 1u;
    auto next = [&state] { return state = state * 1664525u + 1013904223u; };
    for (int16_t* grid : {r.lut_2d_h, r.lut_2d_s}) {
        for (int k = 0; k < 400; ++k) {
            const int v = base + static_cast<int>(next() >> 8) % (2 * spread + 1) - spread;
            grid[k] = static_cast<int16_t>(v < -511 ? -511 : (v > 511 ? 511 : v));
        }
    }
    r.h_shift = in.ConsumeIntegralInRange<uint16_t>(0, 5);
    r.s_shift = in.ConsumeIntegralInRange<uint16_t>(0, 3);
    r.l_boundary_start_A = in.ConsumeIntegralInRange<uint16_t>(0, 500);
    r.l_boundary_start_B = in.ConsumeIntegralInRange<uint16_t>(r.l_boundary_start_A + 1, 1000);
    r.l_boundary_end_A = in.ConsumeIntegralInRange<uint16_t>(r.l_boundary_start_B, 1800);
    r.l_boundary_end_B = in.ConsumeIntegralInRange<uint16_t>(r.l_boundary_end_A + 1, 2047);
    r.l_boundary_start_inv =
        static_cast<uint16_t>(2048 / (r.l_boundary_start_B - r.l_boundary_start_A));
    r.l_boundary_end_inv = static_cast<uint16_t>(2048 / (r.l_boundary_end_B - r.l_boundary_end_A));
    return r;
}

// Edits of the record as a host may make them between frames: any 16-bit word, to a value
// near a range's edge or to any value.
void editRecord(FuzzedDataProvider& in, ISP2DLUTInStruct_V10& r, int edits) {
    uint16_t words[kRecordWords];
    std::memcpy(words, &r, sizeof words);
    static constexpr uint16_t kEdges[] = {
        0,    1,    2,    3,    5,     6,     15,    16,    17,     255,    256,    511,   512,
        1023, 2047, 2048, 2049, 12287, 12288, 16383, 16384, 0x7FFF, 0x8000, 0xFE01, 0xFFFF};
    for (int e = 0; e < edits; ++e) {
        const size_t at = in.ConsumeIntegralInRange<size_t>(0, kRecordWords - 1);
        words[at] = in.ConsumeBool() ? in.PickValueInArray(kEdges) : in.ConsumeIntegral<uint16_t>();
    }
    std::memcpy(&r, words, sizeof words);
}

// Small frames keep each run fast; one in sixteen is wide or tall beyond what the band
// records carry (65536 in the full-resolution mode, 131072 in the low-resolution mode), or
// has such a stride.
Lut2DImageInfo pickGeometry(FuzzedDataProvider& in, Lut2DMode mode) {
    Lut2DImageInfo g{};
    g.format = in.ConsumeIntegralInRange<uint32_t>(0, 3);
    const uint32_t limit = mode == LUT2D_MODE_YDS ? 131072 : 65536;
    switch (in.ConsumeIntegralInRange(0, 15)) {
        case 0:  // wide
            g.width = limit + in.ConsumeIntegralInRange<uint32_t>(0, 9) - 4;
            g.height = in.ConsumeIntegralInRange<uint32_t>(1, 5);
            break;
        case 1:  // tall (row bands that overlap once cut to 16 bits from about 1.3 limits)
            g.width = in.ConsumeIntegralInRange<uint32_t>(1, 4);
            g.height = limit + in.ConsumeIntegralInRange<uint32_t>(0, limit) - 4;
            break;
        case 2:  // a wide stride
            g.width = in.ConsumeIntegralInRange<uint32_t>(1, 16);
            g.height = in.ConsumeIntegralInRange<uint32_t>(1, 9);
            g.stride = limit + in.ConsumeIntegralInRange<uint32_t>(0, 9) - 4;
            return g;
        default:
            g.width = in.ConsumeIntegralInRange<uint32_t>(1, 48);
            g.height = in.ConsumeIntegralInRange<uint32_t>(1, 24);
            break;
    }
    g.stride = g.width + in.ConsumeIntegralInRange<uint32_t>(0, 5);
    return g;
}

void fillPlanes(FuzzedDataProvider& in, uint8_t* luma, size_t lumaBytes, uint8_t* chroma,
                size_t chromaBytes) {
    switch (in.ConsumeIntegralInRange(0, 2)) {
        case 0: {  // one colour
            const uint8_t y = in.ConsumeIntegral<uint8_t>(), c = in.ConsumeIntegral<uint8_t>();
            std::memset(luma, y, lumaBytes);
            std::memset(chroma, c, chromaBytes);
            break;
        }
        default: {  // noise from a seed
            uint32_t state = in.ConsumeIntegral<uint32_t>();
            for (size_t i = 0; i < lumaBytes; ++i)
                luma[i] = static_cast<uint8_t>((state = state * 1103515245u + 12345u) >> 16);
            for (size_t i = 0; i < chromaBytes; ++i)
                chroma[i] = static_cast<uint8_t>((state = state * 1103515245u + 12345u) >> 16);
            break;
        }
    }
}

// An InitLut2D refused by its early checks keeps its engine object by design; a process
// makes only a few such calls, so that the fuzzer's memory stays flat.
int g_refusalsLeft = 32;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    const auto mode = static_cast<Lut2DMode>(in.ConsumeIntegralInRange(0, 15) == 0
                                                 ? in.ConsumeIntegralInRange<uint32_t>(2, 3)
                                                 : in.ConsumeIntegralInRange<uint32_t>(0, 1));
    const Lut2DImageInfo info = pickGeometry(in, mode);
    ISP2DLUTInStruct_V10* record = new ISP2DLUTInStruct_V10;
    if (in.ConsumeIntegralInRange(0, 7) == 0) {
        const std::vector<uint8_t> raw = in.ConsumeBytes<uint8_t>(sizeof *record);
        std::memset(record, 0, sizeof *record);
        if (!raw.empty()) std::memcpy(record, raw.data(), raw.size());
    } else {
        *record = validRecord(in);
        if (in.ConsumeIntegralInRange(0, 3) == 0)
            editRecord(in, *record, in.ConsumeIntegralInRange(1, 3));
    }

    static SW_2DLut_v10 checker;
    if (checker.parameterCheck(record) != 0) {
        if (g_refusalsLeft > 0) {
            --g_refusalsLeft;
            void* refused = nullptr;
            expect(InitLut2D(&refused, record, info, mode) == 2 && refused == nullptr);
        }
        delete record;
        return 0;
    }
    void* handle = nullptr;
    const int init = InitLut2D(&handle, record, info, mode);
    expect(init == 0 && handle != nullptr);

    const size_t lumaBytes = size_t{info.stride} * info.height;
    const size_t chromaBytes = size_t{info.stride} * (info.height / 2);
    auto* luma = static_cast<uint8_t*>(std::malloc(lumaBytes));
    auto* chroma = static_cast<uint8_t*>(std::malloc(chromaBytes));
    std::vector<uint8_t> before;
    const int frames = in.ConsumeIntegralInRange(1, 4);
    for (int f = 0; f < frames; ++f) {
        fillPlanes(in, luma, lumaBytes, chroma, chromaBytes);
        if (f > 0 && in.ConsumeBool()) editRecord(in, *record, in.ConsumeIntegralInRange(1, 4));
        before.assign(luma, luma + lumaBytes);
        before.insert(before.end(), chroma, chroma + chromaBytes);
        const bool valid = checker.parameterCheck(record) == 0;
        Lut2DImageData frame{luma, chroma};
        const int status = processLut2d(handle, &frame, in.ConsumeIntegral<uint8_t>());
        expect(status == (valid ? 0 : 2));  // never 6: an abort between frames is cleared
        const bool untouched = !valid || record->enable == 0 || mode > 1;
        if (untouched) {
            expect(std::memcmp(before.data(), luma, lumaBytes) == 0);
            expect(std::memcmp(before.data() + lumaBytes, chroma, chromaBytes) == 0);
        }
#if defined(LUT2D_FUZZ_MSAN)
        __msan_check_mem_is_initialized(luma, lumaBytes);
        __msan_check_mem_is_initialized(chroma, chromaBytes);
#endif
        // Only after a frame that set the done flag: AbortLut2d then returns at once.
        if (status == 0 && in.ConsumeIntegralInRange(0, 7) == 0) expect(AbortLut2d(handle) == 6);
    }
    std::free(luma);
    std::free(chroma);
    expect(releaseLut2d(handle) == 0);
    delete record;
    return 0;
}
