#include "record_io.h"

#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <vector>

#include "files.h"
#include "record.h"
#include "tool_error.h"

namespace lut2d_tool {

namespace {

using nlohmann::json;

// Keys starting with this character are comments: written by the tool, ignored on reading.
constexpr char kCommentPrefix = '_';

const char* const kAbout[] = {
    "lut2d tuning record (ISP2DLUTInStruct_V10). Convert it to the 1784-byte binary record "
    "with: lut2d record convert THIS.json RECORD.bin",
    "Hue: 12288 units per turn (red 0, yellow 2048, green 4096, cyan 6144, blue 8192, "
    "magenta 10240). Saturation: 2048 = full. Lightness: max + min of the 10-bit R, G, B "
    "(0..2046).",
    "lut_1d_h: 25 hue node positions, 0 first and 12288 last. lut_1d_s: 16 saturation node "
    "positions, 2048 last. Both strictly increasing, nodes at least 2 apart.",
    "lut_2d_h, lut_2d_s: hue and saturation offsets (-511..511), one row per hue node and one "
    "column per saturation node, scaled by 2^h_shift (0..5) and 2^s_shift (0..3).",
    "Lightness weight: 0 up to l_boundary_start_A, rising to full at l_boundary_start_B, full "
    "up to l_boundary_end_A, falling to 0 at l_boundary_end_B.",
    "Reciprocals (lut_1d_h_inv, lut_1d_s_inv, l_boundary_start_inv, l_boundary_end_inv) are "
    "computed from the positions, truncated; they are not written here.",
};

std::string formatValue(int32_t v, int width) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%*d", width, static_cast<int>(v));
    return buf;
}

std::string row(const ISP2DLUTInStruct_V10& r, const FieldInfo& f, size_t first, size_t n,
                int width) {
    std::string s = "[";
    for (size_t i = 0; i < n; ++i) {
        if (i > 0) s += ", ";
        s += formatValue(f.get(r, first + i), width);
    }
    return s + "]";
}

std::string describe(const json& v) {
    if (v.is_structured()) return std::string("a JSON ") + v.type_name();
    return v.dump();
}

// Reads JSON values into a record, collecting every problem.
class JsonReader {
  public:
    JsonReader(const std::string& source, ISP2DLUTInStruct_V10& r) : source_(source), r_(r) {}

    void problem(const std::string& text) { problems_.push_back(source_ + ": " + text); }
    const std::vector<std::string>& problems() const { return problems_; }

    void element(const FieldInfo& f, size_t i, const json& v) {
        const std::string name = elementName(f, i);
        if (!v.is_number_integer()) {
            problem(name + " must be an integer, found " + describe(v));
            return;
        }
        const bool tooBig = v.is_number_unsigned() && v.get<uint64_t>() > uint64_t{1} << 31;
        const int64_t value = tooBig ? INT64_MAX : v.get<int64_t>();
        if (value < f.min || value > f.max) {
            problem(name + " = " + v.dump() + " is out of range " + std::to_string(f.min) + ".." +
                    std::to_string(f.max));
            return;
        }
        f.set(r_, i, static_cast<int32_t>(value));
    }

    // A JSON array of exactly n items, or a problem.
    bool array(const std::string& name, const json& v, size_t n) {
        if (!v.is_array()) {
            problem(name + " must be an array of " + std::to_string(n) + " values, found " +
                    describe(v));
            return false;
        }
        if (v.size() != n) {
            problem(name + " must hold " + std::to_string(n) + " values, found " +
                    std::to_string(v.size()));
            return false;
        }
        return true;
    }

    void field(const FieldInfo& f, const json& v) {
        if (f.count == 1) {
            element(f, 0, v);
        } else if (!f.grid) {
            if (!array(f.name, v, f.count)) return;
            for (size_t i = 0; i < f.count; ++i) element(f, i, v[i]);
        } else {
            if (!array(f.name, v, kHueNodes)) return;
            for (size_t h = 0; h < kHueNodes; ++h) {
                const std::string rowName = std::string(f.name) + "[" + std::to_string(h) + "]";
                if (!array(rowName, v[h], kSatNodes)) continue;
                for (size_t s = 0; s < kSatNodes; ++s) element(f, h * kSatNodes + s, v[h][s]);
            }
        }
    }

  private:
    const std::string& source_;
    ISP2DLUTInStruct_V10& r_;
    std::vector<std::string> problems_;
};

// nlohmann's messages start with "[json.exception.parse_error.101] "; keep the rest.
std::string parseMessage(const json::exception& e) {
    std::string what = e.what();
    const size_t close = what.find("] ");
    return close == std::string::npos ? what : what.substr(close + 2);
}

}  // namespace

bool isJsonRecordPath(const std::filesystem::path& path) {
    return extensionOf(path) == ".json";
}

std::string recordToJson(const ISP2DLUTInStruct_V10& r) {
    std::string out = "{\n  \"_about\": [\n";
    for (size_t i = 0; i < std::size(kAbout); ++i) {
        out += "    " + json(kAbout[i]).dump() + (i + 1 < std::size(kAbout) ? ",\n" : "\n");
    }
    out += "  ]";
    for (const FieldInfo& f : recordFields()) {
        if (f.derived) continue;
        out += ",\n  \"" + std::string(f.name) + "\": ";
        if (f.count == 1) {
            out += std::to_string(f.get(r, 0));
        } else if (!f.grid) {
            out += row(r, f, 0, f.count, 0);
        } else {
            out += "[\n";
            for (size_t h = 0; h < kHueNodes; ++h) {
                out += "    " + row(r, f, h * kSatNodes, kSatNodes, 4);
                out += h + 1 < kHueNodes ? ",\n" : "\n";
            }
            out += "  ]";
        }
    }
    return out + "\n}\n";
}

ISP2DLUTInStruct_V10 recordFromJson(std::string_view text, const std::string& source) {
    json doc;
    try {
        doc = json::parse(text.begin(), text.end());
    } catch (const json::exception& e) {  // a syntax error, or a number beyond a double
        throw ToolError(source + ": not valid JSON: " + parseMessage(e));
    }
    if (!doc.is_object()) {
        throw ToolError(source + ": a JSON record must be an object of fields, found " +
                        describe(doc));
    }
    ISP2DLUTInStruct_V10 r{};
    JsonReader reader(source, r);
    for (const auto& [key, value] : doc.items()) {
        if (!key.empty() && key.front() == kCommentPrefix) continue;
        bool known = false;
        for (const FieldInfo& f : recordFields()) known = known || key == f.name;
        if (!known) {
            reader.problem("unknown field \"" + key + "\"");
        } else if (recordField(key).derived) {
            reader.problem("field \"" + key +
                           "\" is computed from the node positions; leave it out");
        }
    }
    for (const FieldInfo& f : recordFields()) {
        if (f.derived) continue;
        const auto it = doc.find(f.name);
        if (it == doc.end()) {
            reader.problem("missing field \"" + std::string(f.name) + "\"");
            continue;
        }
        reader.field(f, *it);
    }
    if (!reader.problems().empty()) throw ToolError(reader.problems());
    deriveReciprocals(r);
    return r;
}

ISP2DLUTInStruct_V10 decodeRecord(std::span<const uint8_t> bytes, bool json,
                                  const std::string& source) {
    if (json) {
        return recordFromJson(
            std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), source);
    }
    if (bytes.size() != kRecordBytes) {
        throw ToolError(source + ": a binary tuning record is " + std::to_string(kRecordBytes) +
                        " bytes, this file has " + std::to_string(bytes.size()) +
                        " (a JSON record must have a name ending in .json)");
    }
    ISP2DLUTInStruct_V10 r;
    std::memcpy(&r, bytes.data(), kRecordBytes);
    return r;
}

ISP2DLUTInStruct_V10 readRecordFile(const std::filesystem::path& path) {
    return decodeRecord(readFile(path), isJsonRecordPath(path), path.string());
}

void writeRecordFile(const std::filesystem::path& path, const ISP2DLUTInStruct_V10& r) {
    if (isJsonRecordPath(path)) {
        const std::string text = recordToJson(r);
        writeFileAtomically(path, std::span<const uint8_t>(
                                      reinterpret_cast<const uint8_t*>(text.data()), text.size()));
    } else {
        writeFileAtomically(
            path, std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(&r), kRecordBytes));
    }
}

ISP2DLUTInStruct_V10 readUsableRecord(const std::filesystem::path& path) {
    ISP2DLUTInStruct_V10 r = readRecordFile(path);
    std::vector<std::string> problems = recordProblems(r);
    if (problems.empty()) return r;
    for (std::string& p : problems) p = path.string() + ": " + p;
    throw ToolError(problems);
}

}  // namespace lut2d_tool
