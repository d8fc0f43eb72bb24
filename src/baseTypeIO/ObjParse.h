#pragma once

// Pieces shared by the two OBJ parsers: the word-by-word stream reader and the in-place
// scanner of memory buffers. Internal to the library.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "quorvex/base/BaseTriMesh.h"

namespace Quorvex {
namespace obj_detail {

// Sizes of the reader's buffers: a word holds 127 characters and a face-line number 9.
// Lines are read into 4096 bytes with a getline limit of 4095, so a line holds at most
// 4094 characters; a longer one sets the fail flag and ends the parse.
constexpr int kWordBuffer = 128;
constexpr int kTokenBuffer = 10;
constexpr int kLineBuffer = 4096;
constexpr int kLineLimit = 4095;

struct ObjData {
  std::vector<Vector3f> vertices;
  // Three corners per triangle, still counted from 1.
  std::vector<std::int32_t> corners;
};

// Makes negative indices absolute (-1 is the latest vertex read) and appends the fan of
// the polygon `indices` to the corners.
void append_polygon(std::vector<std::int64_t>& indices, ObjData& data);

// What the scan of a memory buffer leaves behind, as the stream would.
struct ScanEnd {
  std::size_t position;  // offset of the next unread byte
  bool eof;
};

// Scans `size` bytes from `text` exactly as parse_obj_by_extraction reads a stream in the
// "C" locale; the scan always ends with the fail flag set, as that reader does.
ScanEnd scan_obj_buffer(const char* text, std::size_t size, ObjData& data);

}  // namespace obj_detail
}  // namespace Quorvex
