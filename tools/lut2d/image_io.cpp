#include "image_io.h"

#include <vips/vips8>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>

#include "frame_io.h"
#include "tool_error.h"

namespace lut2d_tool {

namespace {

using vips::VError;
using vips::VImage;

constexpr uint32_t kLibraryLimit = 65534;

// Loaders the tool accepts, by the name libvips gives them.
constexpr const char* kLoaders[] = {"VipsForeignLoadPngBuffer", "VipsForeignLoadJpegBuffer",
                                    "VipsForeignLoadWebpBuffer", "VipsForeignLoadTiffBuffer",
                                    "VipsForeignLoadHeifBuffer"};

// libvips' error text as one line: its lines joined, each without the "VipsJpeg: " or
// "vipspng: " part naming the component.
std::string oneLine(const std::string& text) {
    std::string out;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(start, end - start);
        const size_t colon = line.find(": ");
        if (colon != std::string::npos && line.find(' ') > colon) line = line.substr(colon + 2);
        if (!line.empty() && out.find(line) == std::string::npos) {
            out += (out.empty() ? "" : "; ") + line;
        }
        start = end + 1;
    }
    return out.empty() ? "unknown error" : out;
}

std::string vipsMessage() {
    std::string text = vips_error_buffer();
    vips_error_clear();
    return oneLine(text);
}

// libvips prints its warnings through GLib; the tool turns the ones that matter into errors
// and keeps the rest quiet.
void quiet(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

void startVips() {
    static std::once_flag once;
    std::call_once(once, [] {
        if (VIPS_INIT("lut2d") != 0) throw ToolError("cannot start libvips: " + vipsMessage());
        vips_cache_set_max(0);           // every picture is decoded once
        vips_block_untrusted_set(TRUE);  // only the well-tested loaders
        g_log_set_handler("VIPS", static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK), quiet, nullptr);
    });
}

bool swapsSides(int orientation) {
    return orientation >= 5 && orientation <= 8;
}

}  // namespace

DecodedPicture decodePicture(std::span<const uint8_t> bytes, uint64_t maxPixels,
                             const std::string& source) {
    startVips();
    const char* loader =
        bytes.empty() ? nullptr : vips_foreign_find_load_buffer(bytes.data(), bytes.size());
    vips_error_clear();
    bool known = false;
    for (const char* l : kLoaders)
        known = known || (loader != nullptr && std::strcmp(loader, l) == 0);
    if (!known) {
        throw ToolError(source + ": not a picture lut2d reads (PNG, JPEG, WebP, TIFF or HEIF)");
    }
    DecodedPicture out;
    try {
        // Random access: turning a picture upright reads its rows out of order, and the
        // whole picture is decoded into memory in any case.
        VImage img = VImage::new_from_buffer(
            bytes.data(), bytes.size(), "", VImage::option()->set("fail_on", VIPS_FAIL_ON_WARNING));
        // The header alone: check the size before a pixel is decoded.
        const int orientation =
            img.get_typeof(VIPS_META_ORIENTATION) != 0 ? img.get_int(VIPS_META_ORIENTATION) : 1;
        uint64_t w = static_cast<uint64_t>(img.width()), h = static_cast<uint64_t>(img.height());
        if (swapsSides(orientation)) std::swap(w, h);
        if (w > kLibraryLimit || h > kLibraryLimit) {
            throw ToolError(source + ": picture size " + std::to_string(w) + "x" +
                            std::to_string(h) + " is larger than the library's limit of " +
                            std::to_string(kLibraryLimit) + " in each direction");
        }
        checkPixelBudget(w, h, maxPixels, source);

        const VipsBandFormat format = img.format();
        if (format == VIPS_FORMAT_USHORT || format == VIPS_FORMAT_SHORT) {
            out.notes.push_back("16-bit samples reduced to 8 bits");
        } else if (format != VIPS_FORMAT_UCHAR && format != VIPS_FORMAT_CHAR) {
            out.notes.push_back(std::string(vips_enum_nick(VIPS_TYPE_BAND_FORMAT, format)) +
                                " samples reduced to 8 bits");
        }
        if (orientation > 1 && orientation <= 8) {
            img = img.autorot();
            out.notes.push_back("turned upright by its EXIF orientation (" +
                                std::to_string(orientation) + ")");
        }
        if (img.interpretation() == VIPS_INTERPRETATION_CMYK) {
            img = img.icc_import(
                VImage::option()->set("embedded", true)->set("input_profile", "cmyk"));
            out.notes.push_back("CMYK converted to sRGB");
        }
        if (img.has_alpha()) {
            img = img.flatten();
            out.notes.push_back("transparency composed over black");
        }
        img = img.colourspace(VIPS_INTERPRETATION_sRGB);
        if (img.bands() > 3) img = img.extract_band(0, VImage::option()->set("n", 3));
        if (img.format() != VIPS_FORMAT_UCHAR) img = img.cast(VIPS_FORMAT_UCHAR);

        size_t size = 0;
        void* pixels = img.write_to_memory(&size);
        out.image.width = static_cast<uint32_t>(img.width());
        out.image.height = static_cast<uint32_t>(img.height());
        const auto* p = static_cast<const uint8_t*>(pixels);
        out.image.pixels.assign(p, p + size);
        g_free(pixels);
        if (size != size_t{out.image.width} * out.image.height * 3) {
            throw ToolError(source + ": not a readable picture: unexpected pixel layout");
        }
    } catch (const VError& e) {
        vips_error_clear();
        throw ToolError(source + ": not a readable picture: " + oneLine(e.what()));
    }
    return out;
}

DecodedPicture readPicture(const std::filesystem::path& path, uint64_t maxPixels) {
    const std::vector<uint8_t> bytes = readFile(path);
    return decodePicture(bytes, maxPixels, path.string());
}

bool isWritablePictureName(const std::filesystem::path& name) {
    const std::string ext = extensionOf(name);
    return ext == ".png" || ext == ".jpg" || ext == ".jpeg" || ext == ".webp" || ext == ".tif" ||
           ext == ".tiff";
}

std::vector<uint8_t> encodePicture(const RgbImage& img, const std::filesystem::path& name,
                                   int jpegQuality) {
    startVips();
    const std::string ext = extensionOf(name);
    if (!isWritablePictureName(name)) {
        throw ToolError(name.string() + ": lut2d cannot write this kind of picture; name it " +
                        ".png, .jpg, .webp or .tif");
    }
    try {
        VImage v = VImage::new_from_memory(const_cast<uint8_t*>(img.pixels.data()),
                                           img.pixels.size(), static_cast<int>(img.width),
                                           static_cast<int>(img.height), 3, VIPS_FORMAT_UCHAR);
        void* buffer = nullptr;
        size_t size = 0;
        const std::string q = "[Q=" + std::to_string(jpegQuality) + ",strip]";
        const std::string suffix = ext == ".jpg" || ext == ".jpeg" ? ".jpg" + q
                                   : ext == ".webp"                ? ".webp" + q
                                   : ext == ".png"                 ? ".png[strip]"
                                                                   : ".tif[strip]";
        v.write_to_buffer(suffix.c_str(), &buffer, &size);
        const auto* p = static_cast<const uint8_t*>(buffer);
        std::vector<uint8_t> out(p, p + size);
        g_free(buffer);
        return out;
    } catch (const VError& e) {
        vips_error_clear();
        throw ToolError(name.string() + ": cannot encode the picture: " + oneLine(e.what()));
    }
}

void writePicture(OutputFile& out, const RgbImage& img, int jpegQuality) {
    out.write(encodePicture(img, out.target(), jpegQuality));
}

void savePicture(const std::filesystem::path& path, const RgbImage& img, int jpegQuality) {
    OutputFile out(path);
    writePicture(out, img, jpegQuality);
    out.commit();
}

RgbImage extendForLibrary(const RgbImage& img) {
    const uint32_t w = img.width + img.width % 2;
    uint32_t h = img.height + img.height % 2;
    if (h == 4) h = 6;
    if (w == img.width && h == img.height) return img;
    RgbImage out(w, h);
    for (uint32_t y = 0; y < h; ++y) {
        for (uint32_t x = 0; x < w; ++x) {
            out.set(x, y, img.at(std::min(x, img.width - 1), std::min(y, img.height - 1)));
        }
    }
    return out;
}

RgbImage cropTo(const RgbImage& img, uint32_t width, uint32_t height) {
    if (width == img.width && height == img.height) return img;
    RgbImage out(width, height);
    for (uint32_t y = 0; y < height; ++y) {
        std::memcpy(&out.pixels[size_t{y} * width * 3], &img.pixels[size_t{y} * img.width * 3],
                    size_t{width} * 3);
    }
    return out;
}

}  // namespace lut2d_tool
