// Pictures through the image library: CMYK, 16-bit, transparency, the formats
// written, odd sizes, and the refusals that come before any pixel is decoded.

#include <gtest/gtest.h>

#include <vips/vips8>

#include <cstdlib>
#include <random>

#include "image_io.h"
#include "tool_error.h"
#include "tool_support.h"

namespace {

using namespace lut2d_tool_test;
using vips::VImage;

std::vector<uint8_t> saved(const VImage& img, const char* suffix) {
    void* buffer = nullptr;
    size_t size = 0;
    img.write_to_buffer(suffix, &buffer, &size);
    std::vector<uint8_t> out(static_cast<uint8_t*>(buffer), static_cast<uint8_t*>(buffer) + size);
    g_free(buffer);
    return out;
}

// A 4 x 2 picture of one colour.
VImage flat(std::vector<double> bands, VipsBandFormat format, VipsInterpretation interpretation) {
    VImage img = VImage::black(4, 2, VImage::option()->set("bands", int(bands.size()))) + bands;
    return img.cast(format).copy(VImage::option()->set("interpretation", interpretation));
}

bool near(Rgb a, Rgb b, int tolerance) {
    return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance &&
           std::abs(a.b - b.b) <= tolerance;
}

// (Orientation: the apply command's end-to-end test turns a large portrait upright.)
TEST(Pictures, Become8BitSrgbWithANoteForWhatWasReduced) {
    encodePicture(RgbImage(2, 2), "start.png");  // starts the image library
    const struct {
        VImage img;
        const char* suffix;
        Rgb expected;
        std::vector<std::string> notes;
    } cases[] = {
        {flat({0, 255, 255, 0}, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_CMYK),
         ".jpg[Q=100]",
         {237, 28, 36},
         {"CMYK converted to sRGB"}},
        {flat({65535, 0, 32896}, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_RGB16),
         ".png",
         {255, 0, 128},
         {"16-bit samples reduced to 8 bits"}},
        {flat({200, 100, 50, 0}, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB),
         ".png",
         {0, 0, 0},
         {"transparency composed over black"}},
        {flat({90}, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W), ".tif", {90, 90, 90}, {}},
    };
    for (const auto& c : cases) {
        const DecodedPicture d = decodePicture(saved(c.img, c.suffix), kDefaultMaxPixels, "p");
        ASSERT_EQ(d.image.width, 4u) << c.suffix;
        EXPECT_TRUE(near(d.image.at(3, 1), c.expected, 8))
            << c.suffix << " " << int(d.image.at(3, 1).r);
        EXPECT_EQ(d.notes, c.notes);
    }
}

TEST(Pictures, AreWrittenAsTheirNameAsks) {
    RgbImage img(6, 4);
    for (uint32_t i = 0; i < 24; ++i)
        img.set(i % 6, i / 6, {uint8_t(i * 10), 80, uint8_t(200 - i)});
    for (const char* name : {"a.png", "a.tif", "a.webp", "a.JPEG"}) {
        const DecodedPicture back =
            decodePicture(encodePicture(img, name, 100), kDefaultMaxPixels, name);
        ASSERT_EQ(back.image.width, 6u);
        bool lossless = std::string(name) == "a.png" || std::string(name) == "a.tif";
        for (uint32_t i = 0; i < 24; ++i) {
            EXPECT_TRUE(near(back.image.at(i % 6, i / 6), img.at(i % 6, i / 6), lossless ? 0 : 30))
                << name << " " << i;
        }
    }
    EXPECT_THROW(encodePicture(img, "a.bmp"), ToolError);
}

std::string decodeRefusal(const std::vector<uint8_t>& bytes) {
    return refusal([&] { decodePicture(bytes, kDefaultMaxPixels, "x"); });
}

// A PNG of 2 x 2 pixels whose header (IHDR) claims `w` x `h`.
std::vector<uint8_t> pngClaiming(uint32_t w, uint32_t h) {
    std::vector<uint8_t> png = encodePicture(RgbImage(2, 2), "a.png");
    auto put = [&](size_t at, uint32_t v) {
        for (int k = 0; k < 4; ++k) png[at + k] = uint8_t(v >> (24 - 8 * k));
    };
    put(16, w);
    put(20, h);
    uint32_t crc = 0xFFFFFFFFu;  // of the chunk's type and data
    for (size_t i = 12; i < 29; ++i) {
        crc ^= png[i];
        for (int k = 0; k < 8; ++k) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1)));
    }
    put(29, ~crc);
    return png;
}

TEST(Pictures, AreRefusedOnTheirHeaderBeforeDecoding) {
    EXPECT_EQ(decodeRefusal(pngClaiming(37000, 37000)),
              "x: 37000x37000 is 1369 megapixels, more than the limit of 200 (raise it with "
              "--max-megapixels)");
    EXPECT_EQ(decodeRefusal(pngClaiming(65535, 2)),
              "x: picture size 65535x2 is larger than the library's limit of 65534 in each "
              "direction");
    EXPECT_EQ(decodeRefusal({'h', 'i'}),
              "x: not a picture lut2d reads (PNG, JPEG, WebP, TIFF or HEIF)");
}

TEST(Pictures, AreRefusedOnAnyDecoderWarning) {
    RgbImage noise(256, 256);
    std::mt19937 rng(5);
    for (uint8_t& v : noise.pixels) v = static_cast<uint8_t>(rng());
    const std::vector<uint8_t> jpeg = encodePicture(noise, "n.jpg", 90);
    std::vector<uint8_t> truncated(jpeg.begin(), jpeg.begin() + jpeg.size() * 6 / 10);
    std::vector<uint8_t> corrupt = jpeg;
    corrupt[jpeg.size() / 2] = 0xFF;  // a marker in the middle of the scan
    corrupt[jpeg.size() / 2 + 1] = 0xD3;
    for (const auto* bad : {&truncated, &corrupt}) {
        const std::string message = decodeRefusal(*bad);
        EXPECT_EQ(message.rfind("x: not a readable picture: ", 0), 0u) << message;
        EXPECT_EQ(message.find('\n'), std::string::npos) << message;
    }
    EXPECT_EQ(decodePicture(jpeg, kDefaultMaxPixels, "x").image.width, 256u);
}

TEST(Pictures, OddSizesAreExtendedForTheLibraryAndCroppedBack) {
    RgbImage img(3, 3);
    for (uint32_t i = 0; i < 9; ++i) img.set(i % 3, i / 3, {uint8_t(i), 0, 0});
    const RgbImage even = extendForLibrary(img);
    ASSERT_EQ(even.width, 4u);
    ASSERT_EQ(even.height, 6u);  // 4 rows cannot be split into the library's bands
    EXPECT_EQ(even.at(3, 1).r, 5);
    EXPECT_EQ(even.at(3, 5).r, 8);
    EXPECT_EQ(even.at(1, 4).r, 7);
    EXPECT_EQ(cropTo(even, 3, 3), img);
    EXPECT_EQ(extendForLibrary(RgbImage(2, 2)), RgbImage(2, 2));
}

}  // namespace
