#include "support/reference_engine.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace lut2d_test {

namespace {

constexpr int kBands = 4;
constexpr size_t kSliceBytes = 400000;  // one band's cache: 50,000 entries of 8 bytes
constexpr uint32_t kSliceEntries = 50000;
constexpr uint32_t kSlotModulus = 49999;        // a key's entry is key mod 49999
constexpr uint32_t kEmptyKey = 0xFFFFFFFFu;     // no colour packs to it
constexpr uint32_t kCbFirst = 0, kCrFirst = 1;  // chroma byte orders

HM_RGB& entryOf(HM_RGB* cache, uint32_t key) {
    return cache[key % kSlotModulus];
}

// The frame driver hands the workers the geometry in 16 bits.
uint32_t narrow(uint32_t v) {
    return static_cast<uint16_t>(v);
}

}  // namespace

ReferenceEngine::ReferenceEngine(ISP2DLUTInStruct_V10* record, Lut2DMode mode,
                                 const Lut2DImageInfo& info)
    : missCache_(kSliceEntries, HM_RGB{0, kEmptyKey}) {
    if (engine_.InitLut2D(record, mode, info) != LUT2D_OK) {
        engine_.DenitLut2D();
        throw std::runtime_error("reference engine: set-up failed");
    }
}

ReferenceEngine::~ReferenceEngine() {
    engine_.DenitLut2D();
}

HM_RGB* ReferenceEngine::slice(int band) {
    return reinterpret_cast<HM_RGB*>(engine_.m_workArea + kSliceBytes * static_cast<size_t>(band));
}

int ReferenceEngine::run(Frame& frame, unsigned flags, bool abortAfterWorkers) {
    SW_2DLut_v10& e = engine_;
    if ((flags & 1u) != 0) e.UpdateCfg(e.m_cfg);
    if (e.m_cfg->enable == 0) return LUT2D_OK;

    const uint32_t width = e.m_width, height = e.m_height, stride = e.m_stride;
    const size_t quarter = size_t{stride} * height / 4;

    if (e.m_mode == LUT2D_MODE_CHRUS) {
        // The new chroma goes to a plane of its own: the upsampling reads the input pairs
        // around each block, in this band and the next.
        std::vector<uint8_t> chromaResult(std::max<size_t>(2 * quarter, 1));
        // A quarter of the height rounded to an even row count; the last band takes the rest,
        // and bands past the frame's last whole row pair are empty.
        const uint32_t band = ((height >> 2) + 1) & ~1u;
        for (int i = 0; i < kBands; ++i) {
            const uint32_t start = narrow(i * band);
            const uint32_t end = narrow(i == kBands - 1 ? height : (i + 1) * band);
            fullResolutionBand(frame, chromaResult.data(), start, end, slice(i));
        }
        if (abortAfterWorkers) return LUT2D_ERR_ABORTED;
        // Only the bytes of each chroma row that hold adjusted pairs are copied back.
        if (e.m_format <= kCrFirst) {
            const size_t rowBytes = std::min(width, stride) & ~1u;
            for (size_t r = 0; r < height / 2; ++r) {
                std::memcpy(frame.chroma.data() + r * stride, chromaResult.data() + r * stride,
                            rowBytes);
            }
        }
        return LUT2D_OK;
    }

    // The low-resolution mode: one block per chroma pair, the bands cut from the half height,
    // not rounded.
    std::vector<uint8_t> offsets(std::max<size_t>(quarter, 1), 128);
    const uint32_t halfWidth = width >> 1, halfHeight = height >> 1, halfStride = stride >> 1;
    const uint32_t band = halfHeight >> 2;
    for (int i = 0; i < kBands; ++i) {
        const uint32_t start = narrow(i * band);
        const uint32_t end = narrow(i == kBands - 1 ? halfHeight : (i + 1) * band);
        lowResolutionBand(frame, offsets.data(), start, end, slice(i));
    }
    if (abortAfterWorkers) return LUT2D_ERR_ABORTED;
    (void)e.YOffsetAddition_tessel(offsets.data(), frame.luma.data(), halfWidth, halfStride,
                                   halfHeight);
    return LUT2D_OK;
}

// Luma rows [startRow, endRow) a row pair at a time, each pair's 2x2 blocks left to right,
// each block's pixels top-left, top-right, bottom-left, bottom-right through the slice.
void ReferenceEngine::fullResolutionBand(Frame& frame, uint8_t* chromaResult, uint32_t startRow,
                                         uint32_t endRow, HM_RGB* cache) {
    SW_2DLut_v10& e = engine_;
    const uint32_t stride = narrow(e.m_stride);
    // Whole blocks only: an odd last column or row is left as it is.
    const uint32_t width = std::min(narrow(e.m_width), stride) & ~1u;
    const uint32_t height = narrow(e.m_height) & ~1u;
    endRow = std::min(endRow, height);
    const uint32_t format = e.m_format;
    const int uByte = format == kCrFirst ? 1 : 0;
    const int32_t lastPairRow = static_cast<int32_t>(height / 2) - 1;
    const int32_t lastPairCol = static_cast<int32_t>(width / 2) - 1;

    // Byte b of an input pair; past a border of the blocks the nearest pair stands in.
    auto pairByte = [&](int32_t pairRow, int32_t pairCol, int b) {
        pairRow = std::clamp(pairRow, 0, lastPairRow);
        pairCol = std::clamp(pairCol, 0, lastPairCol);
        return int32_t{frame.chroma[size_t{stride} * pairRow + 2 * size_t(pairCol) + b]};
    };

    for (uint32_t r = startRow; r < endRow; r += 2) {
        const auto pairRow = static_cast<int32_t>(r / 2);
        for (uint32_t c = 0; c < width; c += 2) {
            const auto pairCol = static_cast<int32_t>(c / 2);
            size_t pos[4];
            short y[4], u[4], v[4];
            for (int k = 0; k < 4; ++k) {
                const int32_t dy = k < 2 ? -1 : 1, dx = k % 2 == 0 ? -1 : 1;
                // Chroma upsampled 9-3-3-1 to the pixel; 0 without a supported byte order.
                int32_t up[2] = {0, 0};
                for (int b = 0; b < 2 && format <= kCrFirst; ++b) {
                    up[b] = (9 * pairByte(pairRow, pairCol, b) +
                             3 * pairByte(pairRow, pairCol + dx, b) +
                             3 * pairByte(pairRow + dy, pairCol, b) +
                             pairByte(pairRow + dy, pairCol + dx, b)) >>
                            2;
                }
                pos[k] = size_t{stride} * (r + k / 2) + c + k % 2;
                e.process(static_cast<short>(frame.luma[pos[k]] * 4), static_cast<short>(up[uByte]),
                          static_cast<short>(up[1 - uByte]), &y[k], &u[k], &v[k], cache);
            }
            for (int k = 0; k < 4; ++k) frame.luma[pos[k]] = static_cast<uint8_t>(y[k] >> 2);
            if (format > kCrFirst) continue;
            // The block's mean as 8 bits: the four values summed and taken over 16, less the
            // odd bit each column's pair loses, since each column is halved on its own first.
            auto mean = [](const short* x) {
                const int32_t right = x[1] + x[3], left = x[0] + x[2];
                return static_cast<uint8_t>((right - right % 2 + left - left % 2) / 16);
            };
            chromaResult[size_t{stride} * pairRow + c + uByte] = mean(u);
            chromaResult[size_t{stride} * pairRow + c + 1 - uByte] = mean(v);
        }
    }
}

// Block rows [startRow, endRow) of the half-size grid, blocks left to right, each through the
// slice with its 8-bit key.
void ReferenceEngine::lowResolutionBand(Frame& frame, uint8_t* offsets, uint32_t startRow,
                                        uint32_t endRow, HM_RGB* cache) {
    SW_2DLut_v10& e = engine_;
    const uint32_t halfStride = narrow(e.m_stride >> 1);
    const uint32_t blocks = std::min(narrow(e.m_width >> 1), halfStride);
    // Rows are read twice the half pitch apart: an odd pitch is taken as the even one below.
    const size_t pitch = 2 * size_t{halfStride};
    const uint32_t format = e.m_format;
    const int uByte = format == kCbFirst ? 0 : 1;  // any order but Cb first reads Cr first

    for (uint32_t r = startRow; r < endRow; ++r) {
        for (uint32_t c = 0; c < blocks; ++c) {
            const size_t topLeft = pitch * 2 * r + 2 * c;
            const uint32_t sum = frame.luma[topLeft] + frame.luma[topLeft + 1] +
                                 frame.luma[topLeft + pitch] + frame.luma[topLeft + pitch + 1];
            uint8_t* pair = frame.chroma.data() + pitch * r + 2 * c;
            const uint32_t key = (sum >> 2) << 16 | uint32_t{pair[uByte]} << 8 | pair[1 - uByte];
            HM_RGB& entry = entryOf(cache, key);
            if (entry.key != key) {
                entry.result = lowResolutionResult(key);
                entry.key = key;
            }
            const uint32_t result = entry.result;
            offsets[size_t{halfStride} * r + c] = static_cast<uint8_t>(result >> 16);
            if (format <= kCrFirst) {
                pair[uByte] = static_cast<uint8_t>(result >> 8);
                pair[1 - uByte] = static_cast<uint8_t>(result);
            }
        }
    }
}

// The result of a block key Yavg << 16 | U << 8 | V computed afresh: the luma offset byte
// (Y'' - Yavg + 128) mod 256, then the new chroma, offset << 16 | U'' << 8 | V''.
uint32_t ReferenceEngine::lowResolutionResult(uint32_t key) {
    const uint32_t yAvg = key >> 16, u = key >> 8 & 255u, v = key & 255u;
    short y2, u2, v2;
    engine_.process(static_cast<short>(yAvg * 4), static_cast<short>(u * 4),
                    static_cast<short>(v * 4), &y2, &u2, &v2, missCache_.data());
    // Empty the entry the call filled, so that the next call computes afresh too.
    const uint32_t colourKey = (yAvg * 4) << 20 | (u * 4) << 10 | (v * 4);
    HM_RGB& used = entryOf(missCache_.data(), colourKey);
    if (used.key != colourKey) throw std::logic_error("reference engine: unexpected cache entry");
    used.key = kEmptyKey;
    const uint32_t offsetByte =
        (static_cast<uint32_t>((y2 >> 2) - static_cast<int32_t>(yAvg)) ^ 128u) & 0xFFu;
    return offsetByte << 16 | static_cast<uint32_t>(u2 >> 2) << 8 | static_cast<uint32_t>(v2 >> 2);
}

}  // namespace lut2d_test
