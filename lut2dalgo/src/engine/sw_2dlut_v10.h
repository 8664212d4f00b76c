// The CPU engine: one SW_2DLut_v10 object per handle.
//
// The object holds the frame geometry, a pointer to the caller's tuning record, the
// constant division tables, the colour-transform constants, three tables derived from the
// record and the work area that the four band workers use as result caches. All members
// are public and exported: hosts may call the colour kernel and the plane utilities
// directly.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "../common/lut2d_export.h"
#include "../interface/orvix_lut2d.h"
#include "../kernel/kernel_types.h"

struct SW2DLUTContext;

// Per-band argument record that the frame driver hands to a worker thread.
struct Lut2DThreadArgs {
    uint8_t* pLumaIn;
    uint8_t* pChromaIn;
    uint8_t* pLumaOut;
    uint8_t* pChromaOut;
    uint8_t* pLumaOffset;
    uint16_t startRow;
    uint16_t endRow;
    uint16_t width;
    uint16_t stride;
    uint16_t height;
    class SW_2DLut_v10* engine;
    uint8_t* pScratch;
    uint32_t format;
};

// Planar 16-bit image with 10 significant bits per sample; does not own its planes.
struct ImageData10Bit {
    uint16_t* pY;
    uint16_t* pCb;
    uint16_t* pCr;
};

// Argument record of the plane copy thread bodies.
struct CopyThreadArgs {
    uint32_t width;   // bytes per packed row
    uint32_t height;  // luma rows; the chroma plane has height / 2 rows
    uint32_t stride;  // row pitch of the strided planes
    uint8_t* pStridedLuma;
    uint8_t* pStridedChroma;
    uint8_t* pPackedLuma;
    uint8_t* pPackedChroma;
};

namespace lut2d {

inline constexpr uint32_t kWorkAreaBytes = 1600000;   // four result caches
inline constexpr uint32_t kCacheSliceBytes = 400000;  // one band's result cache
inline constexpr int kBandCount = 4;
// An order of the four bands in one byte, two bits per place, the first in the low bits:
// here band order.
inline constexpr uint8_t kBandsInOrder = 0b11'10'01'00;

}  // namespace lut2d

class LUT2D_EXPORT SW_2DLut_v10 {
  public:
    // ---- set-up, refresh and tear-down ------------------------------------------------
    SW_2DLut_v10();
    ~SW_2DLut_v10();
    int InitLut2D(ISP2DLUTInStruct_V10* cfg, Lut2DMode mode, Lut2DImageInfo info);
    int initializeTables();
    int UpdateCfg(ISP2DLUTInStruct_V10* cfg);
    int DenitLut2D();
    int run(Lut2DImageData* image);

    // ---- tuning-record validation -----------------------------------------------------
    int parameterCheck(const ISP2DLUTInStruct_V10* cfg) const;
    static int checkRange(const char* name, int32_t value, int32_t min, int32_t max);

    // ---- frame driver and luma offsets ------------------------------------------------
    int run2dlut_fx(Lut2DImageData* image);
    int YOffsetAddition_tessel(unsigned char* offsets, unsigned char* luma, unsigned int width,
                               unsigned int stride, unsigned int height);

    // ---- plane utilities --------------------------------------------------------------
    void DeinterleaveCbCr(Lut2DImageData* src, ImageData10Bit* dst, uint32_t lumaCount,
                          uint32_t chromaPairs);
    void InterleaveCbCr(ImageData10Bit* src, Lut2DImageData* dst, uint32_t lumaCount,
                        uint32_t chromaPairs);
    void Upscale2x(unsigned short* src, unsigned short* dst, unsigned int width,
                   unsigned int height);
    void Upscale2x(short* src, short* dst, unsigned int width, unsigned int height);
    void Upscale2x(unsigned char* src, unsigned char* dst, unsigned int width, unsigned int stride,
                   unsigned int height);

    // ---- colour kernel ----------------------------------------------------------------
    int CST(short a, short b, short c, short* o1, short* o2, short* o3, CST_params* p);
    int CST_YUV2RGB(short y, short u, short v, short* g, short* b, short* r);
    int CST_RGB2YUV(short g, short b, short r, short* y, short* u, short* v);
    int RGBtoHSL(int r, int g, int b, int* h, int* s, int* l, int* recipSat, int* recipHue,
                 int* shiftSat, int* shiftHue);
    int HSLtoRGB(int* r, int* g, int* b, int h, int s, int l);
    int bilinearInterpolation(unsigned short h, unsigned short s, unsigned short hIdx,
                              unsigned short sIdx, int* dH, int* dS,
                              const ISP2DLUTInStruct_V10* cfg, bool* cellIsNeutral);
    int colorAdjust(int h, int s, int l, int* outH, int* outS, const ISP2DLUTInStruct_V10* cfg,
                    bool* cellIsNeutral);
    int BoundaryControl(unsigned short l, int dH, int dS, int* outH, int* outS,
                        const ISP2DLUTInStruct_V10* cfg);
    int BoundaryCheck(unsigned short l, unsigned short startA, unsigned short endA,
                      unsigned short startB, unsigned short endB);
    int boundaryLinearInterpolation(unsigned short a, unsigned short b, unsigned short c,
                                    unsigned short* out);
    int searchIndex(bool clampHigh, int n, unsigned short v, unsigned short* idx,
                    const unsigned short* nodes);
    int linearInterpolation_Cmult32(int q, int unused, unsigned int w, int y0, int y1);
    int linearInterpolation_Cmult64(int q, int unused, unsigned int w, int y0, int y1);
    int process(short y, short u, short v, short* yOut, short* uOut, short* vOut, HM_RGB* cache);
    int get_luma_delta(int kb, int kr, int c1New, int c2New, int c3New, int c1Old, int c2Old,
                       int c3Old);

    // ---- DSP back-end -----------------------------------------------------------------
    int InitLut2D_dsp(ISP2DLUTInStruct_V10* cfg, Lut2DMode mode, Lut2DImageInfo info);
    int UpdateCfg_dsp(ISP2DLUTInStruct_V10* cfg);
    int run_dsp(Lut2DImageData* image);
    int DenitLut2D_dsp();

    // ---- state, in binary-interface order ---------------------------------------------
    // The three flags are single bytes shared with AbortLut2d on another thread.
    std::atomic<uint8_t> m_useDsp;  // 0 = CPU engine, 1 = DSP back-end
    std::atomic<uint8_t> m_abort;   // a stop has been requested
    std::atomic<uint8_t> m_done;    // the current frame has finished
    // Not a field of the binary interface: it sits in the padding before the work area, so
    // every field keeps its offset. The order in which the next frame's threads take the
    // four bands (longest first in the last frame); a schedule, on which no byte depends.
    uint8_t m_bandOrder;
    uint8_t* m_workArea;                      // four HM_RGB caches of 400,000 bytes
    uint32_t m_recip[lut2d::kDivTableSize];   // reciprocal table (saturation division)
    uint32_t m_recip2[lut2d::kDivTableSize];  // same values (hue division)
    uint32_t m_shift[lut2d::kDivTableSize];   // shift table (saturation division)
    uint32_t m_shift2[lut2d::kDivTableSize];  // same values (hue division)
    ISP2DLUTInStruct_V10* m_cfg;              // the caller's record (CPU) or the shared copy (DSP)
    Lut2DMode m_mode;
    uint32_t m_format;
    uint32_t m_width;
    uint32_t m_stride;
    uint32_t m_height;
    uint16_t* m_hueIndex;     // hue -> hue interval, kHueIndexEntries entries
    uint16_t* m_satIndex;     // saturation -> saturation interval, kSatIndexEntries
    uint16_t* m_lightWeight;  // lightness -> weight in 1/2048, 2048 entries
    CST_params m_cst[2];      // [0] RGB -> YUV, [1] YUV -> RGB
    SW2DLUTContext* m_dspCtx;
};

static_assert(sizeof(std::atomic<uint8_t>) == 1, "flags are single bytes");
static_assert(offsetof(SW_2DLut_v10, m_bandOrder) < offsetof(SW_2DLut_v10, m_workArea) &&
                  offsetof(SW_2DLut_v10, m_workArea) == sizeof(void*),
              "the band order sits in padding: the binary interface's fields keep their offsets");

namespace lut2d {

// True when the CPU set-up completed: every derived table and the work area exist. A handle
// whose set-up failed part-way may only be released.
inline bool engineIsSetUp(const SW_2DLut_v10& e) {
    return e.m_hueIndex != nullptr && e.m_satIndex != nullptr && e.m_lightWeight != nullptr &&
           e.m_workArea != nullptr && e.m_cfg != nullptr;
}

// The tables the colour kernel reads, as the engine holds them now.
inline KernelTables kernelTables(const SW_2DLut_v10& e) {
    return {e.m_cfg,      e.m_recip,    e.m_recip2,      e.m_shift,   e.m_shift2,
            e.m_hueIndex, e.m_satIndex, e.m_lightWeight, &e.m_cst[0], &e.m_cst[1]};
}

}  // namespace lut2d
