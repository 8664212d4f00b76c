// Every reader of outside data in the tool, each callable on a buffer in memory: the same
// code the commands run on files. Each returns what it read or throws a ToolError with one
// line per problem; none allocates for a size it has not checked against the input's length
// or the pixel budget.
//
//   decodeRecord(bytes, json, source)               tuning record, JSON or 1784-byte binary
//   recordFromJson(text, source)                    tuning record from JSON text
//   decodePicture(bytes, maxPixels, source)         PNG, JPEG, WebP, TIFF or HEIF picture
//   decodeRawFrames(bytes, geometry, layout, maxPixels, source)
//                                                   raw I420, YV12, NV12 or NV21 frames
//   decodeY4m(bytes, maxPixels, source)             y4m clip
#pragma once

#include "frame_io.h"
#include "image_io.h"
#include "record_io.h"
