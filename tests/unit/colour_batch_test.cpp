// The batched colour kernel: every instruction-set form this machine runs gives exactly the
// scalar form's result, on every 8-bit colour the low-resolution mode can meet and on random
// 10-bit colours, under records that reach the corners of the arithmetic.

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "kernel/colour_batch.h"
#include "unit/kernel_model.h"

namespace {

using kmodel::Rec;

constexpr uint32_t kSweepStep = lut2d_test::kSlowdown > 1 ? 61 : 1;  // sanitizers sample it

std::vector<lut2d::AdjustColoursPath> vectorPaths() {
    return lut2d_test::vectorForms(lut2d::adjustColoursPaths);
}

// Records whose arithmetic reaches far: random ones, the largest offsets and shifts with
// reciprocals that overshoot their spacing, wrapping lightness ramps, a high first saturation
// node, and index tables left behind by moved nodes.
struct NamedRecord {
    const char* name;
    Rec rec;
    Rec moved;  // the record as the host edits it after set-up (nodes moved, not rebuilt)
};

std::vector<NamedRecord> records() {
    std::vector<NamedRecord> out;
    std::mt19937 rng(7);
    const Rec random = kmodel::randomRecord(rng);
    out.push_back({"random", random, random});

    Rec extreme = lut2d::neutralRecord();
    for (int i = 0; i < 400; ++i) {
        extreme.lut_2d_h[i] = static_cast<int16_t>(i % 3 == 0 ? 511 : -511);
        extreme.lut_2d_s[i] = static_cast<int16_t>(i % 5 < 2 ? -511 : 511);
    }
    extreme.h_shift = 5;
    extreme.s_shift = 3;
    for (auto& v : extreme.lut_1d_h_inv) v = 16383;
    for (auto& v : extreme.lut_1d_s_inv) v = 2047;
    kmodel::setLightness(extreme, 10, 12, 2000, 2002, 1800);  // ramps that wrap
    out.push_back({"extreme", extreme, extreme});

    Rec lowSat = kmodel::randomRecord(rng);
    lowSat.lut_1d_s[0] = 1500;
    out.push_back({"low_saturation", lowSat, lowSat});

    const Rec stale = kmodel::randomRecord(rng);
    Rec moved = stale;
    for (int i = 1; i < 24; ++i) moved.lut_1d_h[i] = static_cast<uint16_t>(moved.lut_1d_h[i] + 37);
    for (int j = 1; j < 15; ++j) moved.lut_1d_s[j] = static_cast<uint16_t>(moved.lut_1d_s[j] - 9);
    out.push_back({"stale_nodes", stale, moved});
    return out;
}

// Whether the colours (10-bit) or the blocks (8-bit) form is compared.
enum class Form { kColours, kBlocks };

void expectSameAsScalar(const lut2d::BatchTables& t, const std::vector<uint32_t>& keys, Form form,
                        const char* what) {
    std::vector<uint32_t> expected(keys.size()), actual(keys.size());
    auto pick = [form](const lut2d::ColourKernel& k) {
        return form == Form::kColours ? k.colours : k.blocks;
    };
    pick({lut2d::AdjustColours_C, lut2d::AdjustBlocks_C})(t, keys.data(), expected.data(),
                                                          keys.size());
    for (const lut2d::AdjustColoursPath& p : vectorPaths()) {
        std::fill(actual.begin(), actual.end(), 0xDEADBEEF);
        pick(p.kernel)(t, keys.data(), actual.data(), keys.size());
        EXPECT_EQ(lut2d_test::firstDifference("key", reinterpret_cast<uint8_t*>(actual.data()),
                                              reinterpret_cast<uint8_t*>(expected.data()),
                                              4 * keys.size(), 4),
                  "")
            << p.name << " " << what;
    }
}

// Every 8-bit block key the low-resolution mode can meet, and random 10-bit colours (not a
// whole number of vectors).
TEST(ColourBatch, VectorFormsEqualTheScalarForm) {
    std::mt19937 rng(11);
    for (const NamedRecord& r : records()) {
        const lut2d_test::PreparedTables p(r.rec, r.moved);
        ASSERT_TRUE(p.tables->vectorExact) << r.name;
        std::vector<uint32_t> blocks, colours(2000003 / kSweepStep);
        for (uint32_t k = 0; k < (1u << 24); k += kSweepStep) blocks.push_back(k);
        for (auto& k : colours) k = rng() & 0x3FFFFFFF;
        expectSameAsScalar(*p.tables, blocks, Form::kBlocks, r.name);
        expectSameAsScalar(*p.tables, colours, Form::kColours, r.name);
    }
}

// The vector forms hold the constant tables: any other engine state runs the scalar form.
TEST(ColourBatch, EditedEngineTablesFallBackToTheScalarForm) {
    NamedRecord r = records()[0];
    struct Edit {
        const char* what;
        void (*apply)(SW_2DLut_v10&);
    };
    const Edit edits[] = {
        {"none", [](SW_2DLut_v10&) {}},
        {"reciprocal", [](SW_2DLut_v10& e) { e.m_recip2[300] += 1; }},
        {"shift", [](SW_2DLut_v10& e) { e.m_shift[7] = 4; }},
        {"transform", [](SW_2DLut_v10& e) { e.m_cst[0].coef[4] = 511; }},
        {"weight", [](SW_2DLut_v10& e) { e.m_lightWeight[900] = 4096; }},
    };
    for (const Edit& edit : edits) {
        lut2d_test::PreparedTables p(r.rec, r.moved);
        edit.apply(p.engine.e);
        p.prepare();
        const bool untouched = edit.apply == edits[0].apply;
        EXPECT_EQ(p.tables->vectorExact, untouched) << edit.what;
        EXPECT_EQ(lut2d::selectColourKernel(*p.tables).colours == lut2d::AdjustColours_C,
                  !untouched || vectorPaths().empty())
            << edit.what;
    }
}

}  // namespace
