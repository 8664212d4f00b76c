#include "frame_io.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>
#include <regex>
#include <sstream>

#include "files.h"
#include "tool_error.h"

namespace lut2d_tool {

namespace {

constexpr std::array<const char*, 4> kLayoutNames = {"i420", "yv12", "nv12", "nv21"};
constexpr const char* kPictureExtensions[] = {".png", ".jpg",  ".jpeg", ".webp",
                                              ".tif", ".tiff", ".heic", ".heif"};
constexpr size_t kMaxY4mLine = 4096;  // a longer header or frame line is not y4m

std::string sizeText(uint64_t w, uint64_t h) {
    return std::to_string(w) + "x" + std::to_string(h);
}

uint8_t clampByte(long v) {
    return static_cast<uint8_t>(std::clamp(v, 0L, 255L));
}

// Applies `luma` to every visible luma byte and `chroma` to every visible chroma byte.
template <class L, class C>
void mapPixels(YuvFrame& f, L luma, C chroma) {
    const FrameGeometry& g = f.geometry;
    for (uint32_t y = 0; y < g.height; ++y) {
        uint8_t* row = &f.luma[size_t{y} * g.stride];
        for (uint32_t x = 0; x < g.width; ++x) row[x] = luma(row[x]);
    }
    for (uint32_t y = 0; y < g.height / 2; ++y) {
        uint8_t* row = &f.chroma[size_t{y} * g.stride];
        for (uint32_t x = 0; x < g.width; ++x) row[x] = chroma(row[x]);
    }
}

// A table of v -> round(a + (v - b) * num / den), clamped to 0..255.
std::array<uint8_t, 256> scaleTable(int a, int b, int num, int den) {
    std::array<uint8_t, 256> t{};
    for (int v = 0; v < 256; ++v) {
        t[v] = clampByte(std::lround(a + static_cast<double>(v - b) * num / den));
    }
    return t;
}

// Reads one line up to a newline (not kept); false at the end of the stream or when the line
// is longer than kMaxY4mLine.
bool readLine(std::istream& in, std::string& line) {
    line.clear();
    char c;
    while (in.get(c)) {
        if (c == '\n') return true;
        if (line.size() >= kMaxY4mLine) return false;
        line.push_back(c);
    }
    return false;
}

// A whole stream's bytes in memory, for the in-memory readers.
std::unique_ptr<std::istream> memoryStream(std::span<const uint8_t> bytes) {
    return std::make_unique<std::istringstream>(
        std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()), std::ios::binary);
}

}  // namespace

const char* layoutName(RawLayout layout) {
    return kLayoutNames[static_cast<size_t>(layout)];
}

std::optional<RawLayout> layoutFromName(const std::string& name) {
    for (size_t i = 0; i < kLayoutNames.size(); ++i) {
        if (name == kLayoutNames[i]) return static_cast<RawLayout>(i);
    }
    return std::nullopt;
}

FileKind fileKindOf(const fs::path& path) {
    const std::string ext = extensionOf(path);
    for (const char* p : kPictureExtensions) {
        if (ext == p) return FileKind::Picture;
    }
    if (ext == ".y4m") return FileKind::Y4m;
    if (layoutOfName(path) || ext == ".yuv" || ext == ".raw") return FileKind::Raw;
    return FileKind::Unknown;
}

std::optional<RawLayout> layoutOfName(const fs::path& path) {
    const std::string ext = extensionOf(path);
    return ext.empty() ? std::nullopt : layoutFromName(ext.substr(1));
}

std::string knownNames() {
    return "pictures .png, .jpg, .jpeg, .webp, .tif, .tiff (and .heic, .heif to read); y4m "
           "clips .y4m; raw frames .nv12, .nv21, .i420, .yv12, or .yuv, .raw with --format";
}

void parseSize(const std::string& text, const std::string& what, uint32_t& width,
               uint32_t& height) {
    static const std::regex pattern("([0-9]{1,9})[xX]([0-9]{1,9})");
    std::smatch m;
    if (!std::regex_match(text, m, pattern) || std::stoul(m[1]) == 0 || std::stoul(m[2]) == 0) {
        throw ToolError(what + ": expected WIDTHxHEIGHT, for example 1920x1080");
    }
    width = static_cast<uint32_t>(std::stoul(m[1]));
    height = static_cast<uint32_t>(std::stoul(m[2]));
}

std::optional<std::pair<uint32_t, uint32_t>> sizeFromName(const fs::path& path) {
    static const std::regex pattern("(^|[^0-9])([0-9]{1,9})[xX]([0-9]{1,9})(?![0-9])");
    const std::string name = path.filename().string();
    std::optional<std::pair<uint32_t, uint32_t>> found;
    for (auto it = std::sregex_iterator(name.begin(), name.end(), pattern);
         it != std::sregex_iterator(); ++it) {
        const std::pair<uint32_t, uint32_t> size{static_cast<uint32_t>(std::stoul((*it)[2])),
                                                 static_cast<uint32_t>(std::stoul((*it)[3]))};
        if (found && *found != size) {
            throw ToolError(path.string() + ": the name carries two sizes, " +
                            sizeText(found->first, found->second) + " and " +
                            sizeText(size.first, size.second) + "; give --size");
        }
        found = size;
    }
    return found;
}

const char* rangeName(ColourRange range) {
    return range == ColourRange::Full ? "full" : "limited";
}

void limitedToFull(YuvFrame& frame) {
    static const auto luma = scaleTable(0, 16, 255, 219);
    static const auto chroma = scaleTable(128, 128, 255, 224);
    mapPixels(
        frame, [](uint8_t v) { return luma[v]; }, [](uint8_t v) { return chroma[v]; });
}

void fullToLimited(YuvFrame& frame) {
    static const auto luma = scaleTable(16, 0, 219, 255);
    static const auto chroma = scaleTable(128, 128, 224, 255);
    mapPixels(
        frame, [](uint8_t v) { return luma[v]; }, [](uint8_t v) { return chroma[v]; });
}

void checkPixelBudget(uint64_t width, uint64_t height, uint64_t maxPixels,
                      const std::string& what) {
    if (width * height > maxPixels) {
        throw ToolError(what + ": " + sizeText(width, height) + " is " +
                        std::to_string((width * height + 500'000) / 1'000'000) +
                        " megapixels, more than the limit of " +
                        std::to_string(maxPixels / 1'000'000) +
                        " (raise it with --max-megapixels)");
    }
}

void unpackRawFrame(std::span<const uint8_t> bytes, RawLayout layout, YuvFrame& frame) {
    const FrameGeometry& g = frame.geometry;
    std::copy_n(bytes.begin(), g.lumaBytes(), frame.luma.begin());
    const std::span<const uint8_t> chroma = bytes.subspan(g.lumaBytes(), g.chromaBytes());
    const bool frameCbFirst = g.order == ChromaOrder::Nv12;
    if (layout == RawLayout::Nv12 || layout == RawLayout::Nv21) {
        std::copy(chroma.begin(), chroma.end(), frame.chroma.begin());
        if ((layout == RawLayout::Nv12) != frameCbFirst) {
            for (size_t i = 0; i + 1 < frame.chroma.size(); i += 2) {
                std::swap(frame.chroma[i], frame.chroma[i + 1]);
            }
        }
        return;
    }
    // Planar: each chroma plane has rows of half the stride.
    const size_t half = g.stride / 2, plane = half * (g.height / 2);
    const uint8_t* first = chroma.data();
    const uint8_t* second = first + plane;
    const bool planeCbFirst = layout == RawLayout::I420;
    const uint8_t* cb = planeCbFirst ? first : second;
    const uint8_t* cr = planeCbFirst ? second : first;
    const size_t cbAt = frameCbFirst ? 0 : 1;
    for (size_t i = 0; i < plane; ++i) {
        frame.chroma[2 * i + cbAt] = cb[i];
        frame.chroma[2 * i + 1 - cbAt] = cr[i];
    }
}

std::vector<uint8_t> packRawFrame(const YuvFrame& frame, RawLayout layout) {
    const FrameGeometry& g = frame.geometry;
    std::vector<uint8_t> out(g.frameBytes());
    std::copy(frame.luma.begin(), frame.luma.end(), out.begin());
    uint8_t* chroma = out.data() + g.lumaBytes();
    const bool frameCbFirst = g.order == ChromaOrder::Nv12;
    if (layout == RawLayout::Nv12 || layout == RawLayout::Nv21) {
        std::copy(frame.chroma.begin(), frame.chroma.end(), chroma);
        if ((layout == RawLayout::Nv12) != frameCbFirst) {
            for (size_t i = 0; i + 1 < g.chromaBytes(); i += 2) std::swap(chroma[i], chroma[i + 1]);
        }
        return out;
    }
    const size_t plane = g.stride / 2 * (g.height / 2);
    const bool planeCbFirst = layout == RawLayout::I420;
    uint8_t* cb = planeCbFirst ? chroma : chroma + plane;
    uint8_t* cr = planeCbFirst ? chroma + plane : chroma;
    const size_t cbAt = frameCbFirst ? 0 : 1;
    for (size_t i = 0; i < plane; ++i) {
        cb[i] = frame.chroma[2 * i + cbAt];
        cr[i] = frame.chroma[2 * i + 1 - cbAt];
    }
    return out;
}

std::string Y4mHeader::text(ColourRange r, bool addRange) const {
    std::string out = "YUV4MPEG2";
    const std::string tag =
        std::string("XCOLORRANGE=") + (r == ColourRange::Full ? "FULL" : "LIMITED");
    bool tagged = false;
    for (const std::string& t : tokens) {
        if (t.rfind("XCOLORRANGE=", 0) == 0) {
            out += " " + tag;
            tagged = true;
        } else {
            out += " " + t;
        }
    }
    if (!tagged && addRange) out += " " + tag;
    return out + "\n";
}

Y4mHeader parseY4mHeader(const std::string& line, const std::string& source) {
    std::istringstream words(line);
    std::string magic;
    words >> magic;
    if (magic != "YUV4MPEG2") {
        throw ToolError(source + ": not a y4m clip (it does not start with YUV4MPEG2)");
    }
    Y4mHeader h;
    std::string t;
    while (words >> t) {
        h.tokens.push_back(t);
        const std::string value = t.substr(1);
        if (t[0] == 'W' || t[0] == 'H') {
            const bool digits = !value.empty() && value.size() <= 9 &&
                                std::all_of(value.begin(), value.end(),
                                            [](char c) { return c >= '0' && c <= '9'; });
            if (!digits) throw ToolError(source + ": y4m header: bad size parameter " + t);
            (t[0] == 'W' ? h.width : h.height) = static_cast<uint32_t>(std::stoul(value));
        } else if (t[0] == 'C') {
            if (value != "420jpeg" && value != "420paldv" && value != "420mpeg2" &&
                value != "420") {
                throw ToolError(source + ": y4m colour space " + value +
                                " is not 8-bit 4:2:0; convert it with ffmpeg -pix_fmt yuv420p");
            }
        } else if (t == "XCOLORRANGE=FULL") {
            h.range = ColourRange::Full;
        } else if (t == "XCOLORRANGE=LIMITED") {
            h.range = ColourRange::Limited;
        }
    }
    if (h.width == 0 || h.height == 0) {
        throw ToolError(source + ": y4m header has no frame size (W and H)");
    }
    return h;
}

Y4mHeader makeY4mHeader(const FrameGeometry& g) {
    Y4mHeader h;
    h.width = g.width;
    h.height = g.height;
    // (Appended rather than concatenated: GCC 12 warns falsely on "W" + std::string at -O3.)
    std::string width = "W", height = "H";
    width += std::to_string(g.width);
    height += std::to_string(g.height);
    h.tokens = {width, height, "F25:1", "Ip", "A1:1", "C420jpeg", "XYSCSS=420JPEG"};
    return h;
}

std::unique_ptr<FrameReader> FrameReader::raw(std::unique_ptr<std::istream> in, uint64_t totalBytes,
                                              const FrameGeometry& g, RawLayout layout,
                                              uint64_t maxPixels, const std::string& source) {
    checkGeometry(g, source);
    checkPixelBudget(g.width, g.height, maxPixels, source);
    const uint64_t frameBytes = g.frameBytes();
    if (totalBytes == 0 || totalBytes % frameBytes != 0) {
        throw ToolError(source + ": " + std::to_string(totalBytes) +
                        " bytes is not a whole number of " + sizeText(g.width, g.height) +
                        " frames (stride " + std::to_string(g.stride) + ": " +
                        std::to_string(frameBytes) + " bytes each); check --size and --stride");
    }
    std::unique_ptr<FrameReader> r(new FrameReader);
    r->in_ = std::move(in);
    r->source_ = source;
    r->geometry_ = g;
    r->layout_ = layout;
    for (uint64_t at = 0; at < totalBytes; at += frameBytes) r->offsets_.push_back(at);
    return r;
}

std::unique_ptr<FrameReader> FrameReader::y4m(std::unique_ptr<std::istream> in, uint64_t totalBytes,
                                              uint32_t stride, uint64_t maxPixels,
                                              const std::string& source) {
    std::string line;
    if (!readLine(*in, line)) {
        throw ToolError(source + ": not a y4m clip (no header line)");
    }
    Y4mHeader header = parseY4mHeader(line, source);
    const FrameGeometry g{header.width, header.height, stride == 0 ? header.width : stride,
                          ChromaOrder::Nv12};
    checkGeometry(g, source);
    checkPixelBudget(g.width, g.height, maxPixels, source);
    // Frames are packed in the file whatever the stride in memory.
    const uint64_t frameBytes = uint64_t{g.width} * g.height * 3 / 2;
    std::unique_ptr<FrameReader> r(new FrameReader);
    uint64_t at = static_cast<uint64_t>(in->tellg());
    while (at < totalBytes) {
        if (!readLine(*in, line) || line.rfind("FRAME", 0) != 0) {
            throw ToolError(source + ": y4m frame " + std::to_string(r->offsets_.size() + 1) +
                            " does not start with FRAME");
        }
        at = static_cast<uint64_t>(in->tellg());
        if (totalBytes - at < frameBytes) {
            throw ToolError(source + ": y4m frame " + std::to_string(r->offsets_.size() + 1) +
                            " is cut short: " + std::to_string(totalBytes - at) + " of " +
                            std::to_string(frameBytes) + " bytes");
        }
        r->offsets_.push_back(at);
        at += frameBytes;
        in->seekg(static_cast<std::streamoff>(at));
    }
    if (r->offsets_.empty()) throw ToolError(source + ": the y4m clip holds no frame");
    in->clear();
    r->in_ = std::move(in);
    r->source_ = source;
    r->geometry_ = g;
    r->header_ = std::move(header);
    return r;
}

void FrameReader::read(YuvFrame& frame) {
    const FrameGeometry& g = geometry_;
    in_->seekg(static_cast<std::streamoff>(offsets_.at(next_++)));
    if (!header_) {
        buffer_.resize(g.frameBytes());
        in_->read(reinterpret_cast<char*>(buffer_.data()),
                  static_cast<std::streamsize>(buffer_.size()));
        if (!*in_) throw ToolError(source_ + ": cannot read: the file ended early");
        unpackRawFrame(buffer_, layout_, frame);
        return;
    }
    // y4m: packed planes, Y then Cb then Cr.
    const size_t w = g.width, h = g.height, cw = w / 2, ch = h / 2;
    buffer_.resize(w * h + 2 * cw * ch);
    in_->read(reinterpret_cast<char*>(buffer_.data()),
              static_cast<std::streamsize>(buffer_.size()));
    if (!*in_) throw ToolError(source_ + ": cannot read: the file ended early");
    for (size_t y = 0; y < h; ++y) {
        std::copy_n(&buffer_[y * w], w, &frame.luma[y * g.stride]);
    }
    const uint8_t* cb = &buffer_[w * h];
    const uint8_t* cr = cb + cw * ch;
    for (size_t y = 0; y < ch; ++y) {
        for (size_t x = 0; x < cw; ++x) {
            frame.chroma[y * g.stride + 2 * x] = cb[y * cw + x];
            frame.chroma[y * g.stride + 2 * x + 1] = cr[y * cw + x];
        }
    }
}

std::unique_ptr<std::istream> openForReading(const fs::path& path, uint64_t& size) {
    std::error_code ec;
    if (fs::is_directory(path, ec)) throw ToolError(path.string() + ": is a folder, not a file");
    size = fs::file_size(path, ec);
    auto in = std::make_unique<std::ifstream>(path, std::ios::binary);
    if (ec || !*in) {
        throw ToolError(path.string() +
                        ": cannot open: " + (ec ? ec.message() : std::string("not readable")));
    }
    return in;
}

std::vector<YuvFrame> decodeRawFrames(std::span<const uint8_t> bytes, const FrameGeometry& g,
                                      RawLayout layout, uint64_t maxPixels,
                                      const std::string& source) {
    auto reader = FrameReader::raw(memoryStream(bytes), bytes.size(), g, layout, maxPixels, source);
    std::vector<YuvFrame> frames;
    for (size_t i = 0; i < reader->frames(); ++i) {
        frames.emplace_back(reader->geometry());
        reader->read(frames.back());
    }
    return frames;
}

Y4mClip decodeY4m(std::span<const uint8_t> bytes, uint64_t maxPixels, const std::string& source) {
    auto reader = FrameReader::y4m(memoryStream(bytes), bytes.size(), 0, maxPixels, source);
    Y4mClip clip{*reader->y4mHeader(), {}};
    for (size_t i = 0; i < reader->frames(); ++i) {
        clip.frames.emplace_back(reader->geometry());
        reader->read(clip.frames.back());
    }
    return clip;
}

std::vector<uint8_t> y4mFrameBytes(const YuvFrame& frame) {
    const FrameGeometry& g = frame.geometry;
    const size_t w = g.width, h = g.height, cw = w / 2, ch = h / 2;
    const char kFrame[] = "FRAME\n";
    std::vector<uint8_t> out(kFrame, kFrame + 6);
    out.reserve(6 + w * h + 2 * cw * ch);
    for (size_t y = 0; y < h; ++y) {
        const uint8_t* row = &frame.luma[y * g.stride];
        out.insert(out.end(), row, row + w);
    }
    const size_t cbAt = g.order == ChromaOrder::Nv12 ? 0 : 1;
    for (size_t k : {cbAt, 1 - cbAt}) {
        for (size_t y = 0; y < ch; ++y) {
            for (size_t x = 0; x < cw; ++x) out.push_back(frame.chroma[y * g.stride + 2 * x + k]);
        }
    }
    return out;
}

}  // namespace lut2d_tool
