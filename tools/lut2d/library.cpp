#include "library.h"

#include <android/log.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "engine/sw_2dlut_v10.h"
#include "interface/record_shape.h"
#include "tool_error.h"

namespace lut2d_tool {

namespace {

std::atomic<bool> gVerbose{false};
std::mutex gLogMutex;
std::vector<std::string> gErrors;

std::string trimmed(std::string s) {
    while (!s.empty() && (s.back() == '\n' || s.back() == ' ')) s.pop_back();
    return s;
}

std::string statusText(int status) {
    switch (status) {
        case LUT2D_ERR_NULL_HANDLE:
            return "null handle";
        case LUT2D_ERR_BAD_CONFIG:
            return "tuning record rejected";
        case LUT2D_ERR_BAD_GEOMETRY:
            return "bad frame geometry";
        case LUT2D_ERR_NULL_PLANE:
            return "null plane";
        case LUT2D_ERR_NO_MEMORY:
            return "out of memory";
        case LUT2D_ERR_ABORTED:
            return "frame aborted";
        case LUT2D_ERR_NULL_CONFIG:
            return "no tuning record";
        default:
            return "failure";
    }
}

// "InitLut2D failed with status 2 (tuning record rejected): <the library's last error>".
std::string failure(const char* call, int status) {
    std::string text = std::string("the library's ") + call + " failed with status " +
                       std::to_string(status) + " (" + statusText(status) + ")";
    const std::vector<std::string> errors = takeLibraryErrors();
    if (!errors.empty()) text += ": " + errors.back();
    return text;
}

}  // namespace

const char* modeName(Lut2DMode mode) {
    return mode == LUT2D_MODE_CHRUS ? "full resolution" : "low resolution";
}

LibraryHandle::LibraryHandle(const ISP2DLUTInStruct_V10& record, const FrameGeometry& geometry,
                             Lut2DMode mode)
    : record_(std::make_unique<ISP2DLUTInStruct_V10>(record)), geometry_(geometry) {
    takeLibraryErrors();
    const int status = InitLut2D(&handle_, record_.get(), geometry.info(), mode);
    if (status != LUT2D_OK) {
        // A set-up that failed part-way still hands out the handle; release it.
        if (handle_ != nullptr) releaseLut2d(handle_);
        handle_ = nullptr;
        throw ToolError(failure("InitLut2D", status));
    }
}

LibraryHandle::~LibraryHandle() {
    if (handle_ != nullptr) releaseLut2d(handle_);
}

void LibraryHandle::process(YuvFrame& frame) {
    Lut2DImageData data = frame.data();
    const int status = processLut2d(handle_, &data, 0);
    if (status != LUT2D_OK) throw ToolError(failure("processLut2d", status));
}

std::vector<int32_t> lightnessWeights(const ISP2DLUTInStruct_V10& record) {
    ISP2DLUTInStruct_V10 copy = record;
    SW_2DLut_v10 engine;
    takeLibraryErrors();
    const int status = engine.InitLut2D(&copy, LUT2D_MODE_CHRUS, {2, 2, 2, 0});
    std::vector<int32_t> weights;
    for (int l = 0; status == LUT2D_OK && l <= lut2d::kLightnessMax; ++l) {
        int weighted = 0, unused = 0;
        engine.BoundaryControl(static_cast<uint16_t>(l), lut2d::kLightInvFull, 0, &weighted,
                               &unused, &copy);
        weights.push_back(weighted);
    }
    engine.DenitLut2D();
    if (status != LUT2D_OK) throw ToolError(failure("engine set-up", status));
    return weights;
}

int nodeInterval(const uint16_t* nodes, int count, uint16_t value) {
    unsigned short interval = 0;
    SW_2DLut_v10().searchIndex(value >= nodes[0], count, value, &interval, nodes);
    return interval;
}

void setLibraryLogVerbose(bool verbose) {
    gVerbose = verbose;
}

std::vector<std::string> takeLibraryErrors() {
    std::lock_guard<std::mutex> lock(gLogMutex);
    std::vector<std::string> out;
    out.swap(gErrors);
    return out;
}

}  // namespace lut2d_tool

// The library logs through __android_log_print, resolved when it is loaded; the tool's own
// definition (exported from the executable) takes the lines instead of the host liblog,
// which would print every line, the version banner of each set-up included.
extern "C" int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    char buf[1024];
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(buf, sizeof buf, fmt, args);
    va_end(args);
    const std::string text = lut2d_tool::trimmed(buf);
    if (lut2d_tool::gVerbose) {
        std::fprintf(stderr, "lut2d: library log (%s, %s): %s\n", tag != nullptr ? tag : "",
                     prio >= ANDROID_LOG_ERROR ? "error" : "info", text.c_str());
    }
    if (prio >= ANDROID_LOG_ERROR) {
        std::lock_guard<std::mutex> lock(lut2d_tool::gLogMutex);
        lut2d_tool::gErrors.push_back(text);
    }
    return 1;
}
