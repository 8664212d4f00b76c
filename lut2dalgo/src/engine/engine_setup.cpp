// Engine set-up, configuration refresh and tear-down.

#include <cstdlib>
#include <cstring>

#include "../common/lut2d_log.h"
#include "../kernel/kernel_constants.h"
#include "../kernel/lut_math.h"
#include "sw_2dlut_v10.h"

namespace {

using lut2d::kCstParams;
using lut2d::kReciprocalTable;
using lut2d::kShiftTable;

void copyDivisionTables(SW_2DLut_v10& e) {
    std::memcpy(e.m_recip, kReciprocalTable.data(), sizeof e.m_recip);
    std::memcpy(e.m_recip2, kReciprocalTable.data(), sizeof e.m_recip2);
    std::memcpy(e.m_shift2, kShiftTable.data(), sizeof e.m_shift2);
    std::memcpy(e.m_shift, kShiftTable.data(), sizeof e.m_shift);
}

// Maps every value 0 .. entries-1 to the interval [nodes[i], nodes[i + 1]) that holds it,
// advancing at most one interval per value and never beyond lastInterval. Values past the
// last node keep the last interval, so the table covers its whole range whatever the record.
void fillIndexTable(uint16_t* table, uint32_t entries, const uint16_t* nodes,
                    uint16_t lastInterval) {
    uint16_t i = 0;
    for (uint32_t x = 0; x < entries; ++x) {
        if (i < lastInterval && x >= nodes[i + 1]) ++i;
        table[x] = i;
    }
}

// Lightness weight in 1/2048 for every lightness, from the record's four boundaries.
void fillLightWeightTable(uint16_t* table, const ISP2DLUTInStruct_V10& cfg) {
    for (uint32_t l = 0; l < lut2d::kLightWeightEntries; ++l) {
        table[l] = lut2d::lightnessWeight(cfg, l);
    }
}

void buildIndexTables(SW_2DLut_v10& e) {
    fillIndexTable(e.m_hueIndex, lut2d::kHueIndexEntries, e.m_cfg->lut_1d_h, lut2d::kHueNodes - 1);
    fillIndexTable(e.m_satIndex, lut2d::kSatIndexEntries, e.m_cfg->lut_1d_s, lut2d::kSatNodes - 1);
}

}  // namespace

SW_2DLut_v10::SW_2DLut_v10()
    : m_useDsp(0),
      m_abort(0),
      m_done(0),
      m_bandOrder(lut2d::kBandsInOrder),
      m_workArea(nullptr),
      m_recip{},
      m_recip2{},
      m_shift{},
      m_shift2{},
      m_cfg(nullptr),
      m_mode(LUT2D_MODE_YDS),
      m_format(0),
      m_width(0),
      m_stride(0),
      m_height(0),
      m_hueIndex(nullptr),
      m_satIndex(nullptr),
      m_lightWeight(nullptr),
      m_cst{},
      m_dspCtx(nullptr) {}

// Owned buffers are freed by releaseLut2d or DenitLut2D, not here.
SW_2DLut_v10::~SW_2DLut_v10() {}

int SW_2DLut_v10::initializeTables() {
    copyDivisionTables(*this);
    return 0;
}

int SW_2DLut_v10::InitLut2D(ISP2DLUTInStruct_V10* cfg, Lut2DMode mode, Lut2DImageInfo info) {
    copyDivisionTables(*this);

    m_cfg = cfg;
    m_mode = mode;
    m_format = info.format;
    m_stride = info.stride;
    m_height = info.height;
    m_width = info.width;

    // The index tables always cover every hue (0..12288) and saturation (0..2048) the
    // kernel can produce, whatever the record's last nodes, so no lookup can leave them.
    m_hueIndex = static_cast<uint16_t*>(std::malloc(lut2d::kHueIndexEntries * sizeof(uint16_t)));
    if (m_hueIndex == nullptr) {
        LUT2D_LOGE("%s: %d: malloc failed \n", "InitLut2D", 414);
        return LUT2D_ERR_NO_MEMORY;
    }
    m_satIndex = static_cast<uint16_t*>(std::malloc(lut2d::kSatIndexEntries * sizeof(uint16_t)));
    if (m_satIndex == nullptr) {
        LUT2D_LOGE("%s: %d: malloc failed \n", "InitLut2D", 420);
        return LUT2D_ERR_NO_MEMORY;
    }
    m_lightWeight =
        static_cast<uint16_t*>(std::malloc(lut2d::kLightWeightEntries * sizeof(uint16_t)));
    if (m_lightWeight == nullptr) {
        LUT2D_LOGE("%s: %d: malloc failed \n", "InitLut2D", 426);
        return LUT2D_ERR_NO_MEMORY;
    }

    buildIndexTables(*this);
    fillLightWeightTable(m_lightWeight, *cfg);

    m_workArea = static_cast<uint8_t*>(std::malloc(lut2d::kWorkAreaBytes));
    if (m_workArea == nullptr) {
        LUT2D_LOGE("%s: %d: malloc failed \n", "InitLut2D", 477);
        return LUT2D_ERR_NO_MEMORY;
    }
    // Every cache entry starts with an all-ones key, above any key a real colour packs to,
    // so the first lookup of every colour computes it.
    std::memset(m_workArea, 0xFF, lut2d::kWorkAreaBytes);

    std::memcpy(m_cst, kCstParams, sizeof m_cst);
    return LUT2D_OK;
}

// Rebuilds only the index tables, from the stored record (the argument is not read). The
// lightness weight table keeps the boundaries of the set-up for the life of the handle.
int SW_2DLut_v10::UpdateCfg(ISP2DLUTInStruct_V10* /*cfg*/) {
    if (m_hueIndex != nullptr && m_satIndex != nullptr) buildIndexTables(*this);
    return LUT2D_OK;
}

int SW_2DLut_v10::DenitLut2D() {
    std::free(m_hueIndex);
    std::free(m_satIndex);
    std::free(m_lightWeight);
    std::free(m_workArea);
    m_hueIndex = nullptr;
    m_satIndex = nullptr;
    m_lightWeight = nullptr;
    m_workArea = nullptr;
    return LUT2D_OK;
}

int SW_2DLut_v10::run(Lut2DImageData* image) {
    if (m_cfg->enable == 0) return LUT2D_OK;
    return run2dlut_fx(image);
}
