#include "image_io.h"

#include <png.h>
// jpeglib.h needs FILE and size_t declared first.
#include <jpeglib.h>
#include <csetjmp>
#include <cstdio>

#include <cstring>
#include <string>
#include <vector>

#include "tool_error.h"

namespace lut2d_tool {

namespace {

RgbImage readPng(const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()) == 0) {
        throw ToolError(path.string() + ": not a readable PNG file: " + image.message);
    }
    image.format = PNG_FORMAT_RGB;
    RgbImage img;
    img.width = image.width;
    img.height = image.height;
    img.pixels.resize(PNG_IMAGE_SIZE(image));
    const png_color black{0, 0, 0};
    if (png_image_finish_read(&image, &black, img.pixels.data(), 0, nullptr) == 0) {
        const std::string message = image.message;
        png_image_free(&image);
        throw ToolError(path.string() + ": not a readable PNG file: " + message);
    }
    return img;
}

void writePng(OutputFile& out, const RgbImage& img) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = img.width;
    image.height = img.height;
    image.format = PNG_FORMAT_RGB;
    if (png_image_write_to_stdio(&image, out.stream(), 0, img.pixels.data(), 0, nullptr) == 0) {
        throw ToolError(out.target().string() + ": cannot write PNG: " + image.message);
    }
}

// libjpeg reports fatal errors through a callback that must not return: jump back to the
// caller with the library's message.
struct JpegErrorManager {
    jpeg_error_mgr base;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

extern "C" void jpegErrorExit(j_common_ptr info) {
    auto* err = reinterpret_cast<JpegErrorManager*>(info->err);
    (*info->err->format_message)(info, err->message);
    std::longjmp(err->jump, 1);
}

extern "C" void jpegSilent(j_common_ptr /*info*/) {}

// Only plain C objects live between setjmp and longjmp here; the picture is allocated by
// the caller before and filled row by row.
bool decodeJpeg(const std::vector<uint8_t>& bytes, RgbImage& img, JpegErrorManager& err) {
    jpeg_decompress_struct info;
    info.err = jpeg_std_error(&err.base);
    err.base.error_exit = jpegErrorExit;
    err.base.output_message = jpegSilent;
    if (setjmp(err.jump) != 0) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, bytes.data(), static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&info, TRUE);
    info.out_color_space = JCS_RGB;
    jpeg_start_decompress(&info);
    img.width = info.output_width;
    img.height = info.output_height;
    img.pixels.resize(size_t{img.width} * img.height * 3);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = &img.pixels[size_t{info.output_scanline} * img.width * 3];
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    return true;
}

bool encodeJpeg(std::FILE* stream, const RgbImage& img, int quality, JpegErrorManager& err) {
    jpeg_compress_struct info;
    info.err = jpeg_std_error(&err.base);
    err.base.error_exit = jpegErrorExit;
    err.base.output_message = jpegSilent;
    if (setjmp(err.jump) != 0) {
        jpeg_destroy_compress(&info);
        return false;
    }
    jpeg_create_compress(&info);
    jpeg_stdio_dest(&info, stream);
    info.image_width = img.width;
    info.image_height = img.height;
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        auto row = const_cast<JSAMPROW>(&img.pixels[size_t{info.next_scanline} * img.width * 3]);
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    return true;
}

}  // namespace

FileKind fileKindOf(const std::filesystem::path& path) {
    const std::string ext = extensionOf(path);
    if (ext == ".png") return FileKind::Png;
    if (ext == ".jpg" || ext == ".jpeg") return FileKind::Jpeg;
    return FileKind::Raw;
}

RgbImage readPicture(const std::filesystem::path& path) {
    const std::vector<uint8_t> bytes = readFile(path);
    if (fileKindOf(path) == FileKind::Png) return readPng(path, bytes);
    RgbImage img;
    JpegErrorManager err{};
    if (!decodeJpeg(bytes, img, err)) {
        throw ToolError(path.string() + ": not a readable JPEG file: " + err.message);
    }
    return img;
}

void writePicture(OutputFile& out, const RgbImage& img, int jpegQuality) {
    if (fileKindOf(out.target()) == FileKind::Png) {
        writePng(out, img);
        return;
    }
    JpegErrorManager err{};
    if (!encodeJpeg(out.stream(), img, jpegQuality, err)) {
        throw ToolError(out.target().string() + ": cannot write JPEG: " + err.message);
    }
}

void savePicture(const std::filesystem::path& path, const RgbImage& img, int jpegQuality) {
    OutputFile out(path);
    writePicture(out, img, jpegQuality);
    out.commit();
}

}  // namespace lut2d_tool
