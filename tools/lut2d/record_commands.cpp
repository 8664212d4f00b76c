// lut2d record new | check | show | convert, and lut2d plot.

#include <cstdio>
#include <string>
#include <vector>

#include "chart.h"
#include "commands.h"
#include "engine/sw_2dlut_v10.h"
#include "files.h"
#include "library.h"
#include "lint.h"
#include "plot.h"
#include "record.h"
#include "record_io.h"
#include "tool_error.h"

namespace lut2d_tool {

namespace {

const char* formName(const fs::path& p) {
    return isJsonRecordPath(p) ? "JSON" : "binary";
}

double hueDegrees(int32_t hue) {
    return hue * 360.0 / kHueTurn;
}

void printGrid(const ISP2DLUTInStruct_V10& r, const char* name, const char* unit, uint16_t shift) {
    const FieldInfo& f = recordField(name);
    std::printf(
        "\n%s: offsets, each times %d %s (shift %d); rows: hue nodes, columns: "
        "saturation nodes\n",
        name, gridStep(shift), unit, shift);
    std::printf("  node  deg |");
    for (int j = 0; j < kSatNodes; ++j) std::printf("%5d", j);
    std::printf("\n  ----------+%s\n", std::string(5 * kSatNodes, '-').c_str());
    for (int i = 0; i < kHueNodes; ++i) {
        std::printf("  %4d %4.0f |", i, hueDegrees(r.lut_1d_h[i]));
        for (int j = 0; j < kSatNodes; ++j) std::printf("%5d", f.get(r, i * kSatNodes + j));
        std::printf("\n");
    }
}

// The stored reciprocal and, when it differs, the value that matches the spacing.
std::string reciprocalNote(int32_t stored, int32_t full, int32_t width) {
    std::string s = std::to_string(stored);
    const int32_t expected = spacingReciprocal(full, width);
    if (width > 0 && stored != expected) s += " (spacing gives " + std::to_string(expected) + ")";
    return s;
}

// Node positions in record units and in `unit`, with the reciprocal of each interval.
void printNodes(const ISP2DLUTInStruct_V10& r, const char* title, const char* nodesName,
                const char* invName, int32_t invFull, double toUnit, const char* unit) {
    const FieldInfo& nodes = recordField(nodesName);
    const FieldInfo& inv = recordField(invName);
    std::printf("\n%s:\n", title);
    for (size_t i = 0; i < nodes.count; ++i) {
        const int32_t at = nodes.get(r, i);
        std::printf("  %2zu %6d %6.1f %-3s", i, at, at * toUnit, unit);
        if (i + 1 < nodes.count) {
            const int32_t width = nodes.get(r, i + 1) - at;
            std::printf("   inv %s", reciprocalNote(inv.get(r, i), invFull, width).c_str());
        }
        std::printf("\n");
    }
}

}  // namespace

int runRecordNew(const fs::path& output, bool showcase) {
    writeRecordFile(output, showcase ? showcaseRecord() : neutralRecord());
    std::printf("wrote %s: %s tuning record, %s\n", output.string().c_str(),
                showcase ? "the demo's showcase" : "a neutral", formName(output));
    return 0;
}

int runRecordCheck(const fs::path& path, bool strict) {
    const ISP2DLUTInStruct_V10 r = readRecordFile(path);
    const std::vector<std::string> problems = recordProblems(r);

    // The library's own validation, exactly as InitLut2D and processLut2d run it.
    takeLibraryErrors();
    const SW_2DLut_v10 engine;
    const int status = engine.parameterCheck(&r);
    const size_t libraryLines = takeLibraryErrors().size();
    const std::string verdict = status == LUT2D_OK
                                    ? "accepts it"
                                    : "rejects it (status " + std::to_string(status) + ", " +
                                          std::to_string(libraryLines) + " out-of-range value" +
                                          (libraryLines == 1 ? "" : "s") + ")";

    const std::string name = path.string();
    for (const std::string& p : problems) std::printf("%s: %s\n", name.c_str(), p.c_str());
    if (r.enable == 0) {
        std::printf(
            "%s: note: enable is 0; the library takes a disabled record without "
            "examining the other fields\n",
            name.c_str());
    }
    if (!problems.empty() || status != LUT2D_OK) {
        std::printf("%s: %zu problem%s; the library's own validation %s\n", name.c_str(),
                    problems.size(), problems.size() == 1 ? "" : "s", verdict.c_str());
        return 1;
    }
    std::printf("%s: ok: the library's validation accepts it and every invariant holds\n",
                name.c_str());

    // The lint: what a valid record can still do wrong to pictures.
    const std::vector<LintWarning> warnings = lintRecord(r);
    for (const LintWarning& w : warnings) {
        std::printf("%s: lint %s: %s\n", name.c_str(), strict ? "error" : "warning",
                    w.text.c_str());
    }
    if (warnings.empty()) {
        std::printf("%s: lint: no red seam, fold-over or near-grey push%s\n", name.c_str(),
                    r.enable == 0 ? " (a disabled record changes nothing)" : "");
        return 0;
    }
    std::printf("%s: lint: %zu warning%s%s\n", name.c_str(), warnings.size(),
                warnings.size() == 1 ? "" : "s",
                strict ? ", errors under --strict" : " (--strict makes them errors)");
    return strict ? 1 : 0;
}

int runRecordShow(const fs::path& path) {
    const ISP2DLUTInStruct_V10 r = readRecordFile(path);
    std::printf("%s: %s tuning record\n\n", path.string().c_str(), formName(path));
    std::printf("enable        %u (%s)\n", r.enable,
                r.enable == 1 ? "frames are adjusted" : "frames pass through unchanged");
    std::printf("h_shift       %u (hue offsets in steps of %d hue units)\n", r.h_shift,
                gridStep(r.h_shift));
    std::printf("s_shift       %u (saturation offsets in steps of %d saturation units)\n",
                r.s_shift, gridStep(r.s_shift));
    std::printf("lightness     0 up to %u, rising to full at %u, full up to %u, 0 from %u\n",
                r.l_boundary_start_A, r.l_boundary_start_B, r.l_boundary_end_A, r.l_boundary_end_B);
    std::printf(
        "              l_boundary_start_inv %s, l_boundary_end_inv %s\n",
        reciprocalNote(r.l_boundary_start_inv, kLightInvFull,
                       r.l_boundary_start_B - r.l_boundary_start_A)
            .c_str(),
        reciprocalNote(r.l_boundary_end_inv, kLightInvFull, r.l_boundary_end_B - r.l_boundary_end_A)
            .c_str());
    std::printf("reserved      y_blend_factor_integer %u, K_b_integer %u, K_r_integer %u\n",
                r.y_blend_factor_integer, r.K_b_integer, r.K_r_integer);

    printNodes(r, "hue nodes (lut_1d_h, 12288 = 360 degrees) and lut_1d_h_inv", "lut_1d_h",
               "lut_1d_h_inv", kHueInvFull, 360.0 / kHueTurn, "deg");
    printNodes(r, "saturation nodes (lut_1d_s, 2048 = 100 %) and lut_1d_s_inv", "lut_1d_s",
               "lut_1d_s_inv", kSatInvFull, 100.0 / kSatFull, "%");
    printGrid(r, "lut_2d_h", "hue units", r.h_shift);
    printGrid(r, "lut_2d_s", "saturation units", r.s_shift);
    const std::vector<std::string> problems = recordProblems(r);
    std::printf("\n%zu problem%s (lut2d record check lists them)\n", problems.size(),
                problems.size() == 1 ? "" : "s");
    return 0;
}

int runRecordConvert(const fs::path& input, const fs::path& output) {
    refuseToOverwriteInputs(output, {input});
    ISP2DLUTInStruct_V10 r = readRecordFile(input);
    if (isJsonRecordPath(output)) {
        // JSON holds no reciprocals: reading it back derives them from the positions.
        ISP2DLUTInStruct_V10 derived = r;
        deriveReciprocals(derived);
        for (const FieldInfo& f : recordFields()) {
            if (!f.derived) continue;
            for (size_t i = 0; i < f.count; ++i) {
                if (f.get(r, i) == f.get(derived, i)) continue;
                std::fprintf(stderr,
                             "lut2d: note: %s: %s = %d is not kept; read back, the spacing "
                             "gives %d\n",
                             input.string().c_str(), elementName(f, i).c_str(), f.get(r, i),
                             f.get(derived, i));
            }
        }
        r = derived;
    }
    std::vector<std::string> problems = recordProblems(r);
    if (!problems.empty()) {
        for (std::string& p : problems) p = input.string() + ": " + p;
        problems.push_back(input.string() + ": not converted; " + output.string() +
                           " is not written");
        throw ToolError(problems);
    }
    writeRecordFile(output, r);
    std::printf("wrote %s: %s tuning record from %s\n", output.string().c_str(), formName(output),
                input.string().c_str());
    return 0;
}

int runPlot(const fs::path& recordPath, const fs::path& folder) {
    for (const char* name : {"hs-planes.png", "lightness-weight.png"}) {
        refuseToOverwriteInputs(folder / name, {recordPath});
    }
    const ISP2DLUTInStruct_V10 r = readUsableRecord(recordPath);
    for (const fs::path& p : writePlots(r, folder)) std::printf("wrote %s\n", p.string().c_str());
    return 0;
}

}  // namespace lut2d_tool
