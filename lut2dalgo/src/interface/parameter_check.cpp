// Range validation of the tuning record.
//
// Every value is checked against its inclusive range and every failing value writes its own
// line, so a tuning engineer sees all problems of a record at once. Only ranges are checked:
// node order, reciprocal spacing and boundary order are the record author's responsibility.

#include "../common/lut2d_log.h"
#include "../engine/sw_2dlut_v10.h"

int SW_2DLut_v10::checkRange(const char* name, int32_t value, int32_t min, int32_t max) {
    if (value >= min && value <= max) return 0;
    LUT2D_LOGE(
        "%s: %d: Out of range value detected in sw2dlut module parameter ( %s ) = %d Should be "
        "within  [%d , %d]  \n",
        "checkRange", 84, name, value, min, max);
    return 1;
}

namespace {

template <typename T, size_t N>
int checkArray(const char* name, const T (&values)[N], int32_t min, int32_t max) {
    int failures = 0;
    for (const T v : values) failures += SW_2DLut_v10::checkRange(name, v, min, max);
    return failures;
}

}  // namespace

int SW_2DLut_v10::parameterCheck(const ISP2DLUTInStruct_V10* cfg) const {
    int failures = checkRange("cfg->enable", cfg->enable, 0, 1);
    // A disabled record is never used, so nothing else of it is examined.
    if (cfg->enable != 1) return failures != 0 ? LUT2D_ERR_BAD_CONFIG : LUT2D_OK;

    failures += checkRange("cfg->h_shift", cfg->h_shift, 0, 5);
    failures += checkRange("cfg->s_shift", cfg->s_shift, 0, 3);
    failures += checkRange("cfg->l_boundary_start_A", cfg->l_boundary_start_A, 0, 2047);
    failures += checkRange("cfg->l_boundary_start_B", cfg->l_boundary_start_B, 0, 2047);
    failures += checkRange("cfg->l_boundary_end_A", cfg->l_boundary_end_A, 0, 2047);
    failures += checkRange("cfg->l_boundary_end_B", cfg->l_boundary_end_B, 0, 2047);
    failures += checkRange("cfg->y_blend_factor_integer", cfg->y_blend_factor_integer, 0, 16);
    failures += checkRange("cfg->K_b_integer", cfg->K_b_integer, 0, 255);
    failures += checkRange("cfg->K_r_integer", cfg->K_r_integer, 0, 255);
    failures += checkRange("cfg->l_boundary_start_inv", cfg->l_boundary_start_inv, 0, 2047);
    failures += checkRange("cfg->l_boundary_end_inv", cfg->l_boundary_end_inv, 0, 2047);

    failures += checkArray("lut_1d_h", cfg->lut_1d_h, 0, 12288);
    failures += checkArray("lut_1d_s", cfg->lut_1d_s, 0, 2048);
    failures += checkArray("lut_2d_h", cfg->lut_2d_h, -511, 511);
    failures += checkArray("lut_2d_s", cfg->lut_2d_s, -511, 511);
    failures += checkArray("lut_1d_h_inv", cfg->lut_1d_h_inv, 0, 16383);
    failures += checkArray("lut_1d_s_inv", cfg->lut_1d_s_inv, 0, 2047);

    return failures != 0 ? LUT2D_ERR_BAD_CONFIG : LUT2D_OK;
}
