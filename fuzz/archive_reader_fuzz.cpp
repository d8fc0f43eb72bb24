// ArchiveReader::read_header and read_values on a memory stream, with zero to three
// registered point vectors (first byte), in the bulk encoding of testbug files.
#include <boost/interprocess/streams/bufferstream.hpp>
#include <cstdint>
#include <vector>

#include "FuzzSupport.h"
#include "quorvex/base/DataArchiveConfig.h"
#include "quorvex/capture/ArchiveRecord.h"
#include "quorvex/capture/ArchiveStream.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QuorvexFuzz::quiet_process();
  if (size < 1) return 0;
  Quorvex::gDAConfig.single_stream = false;
  const int params = data[0] % 4;
  boost::interprocess::basic_ibufferstream<char> in(reinterpret_cast<const char*>(data + 1),
                                                    size - 1);
  std::vector<Quorvex::Point2> a{{1, 1}}, b, c{{2, 2}, {3, 3}};
  Quorvex::ArchiveReader reader{Quorvex::ReadAble(in)};
  const char* names[] = {"loop", "holes", "x"};
  std::vector<Quorvex::Point2>* values[] = {&a, &b, &c};
  for (int i = 0; i < params; ++i) reader.add_parameter(*values[i], names[i]);
  if (reader.read_header()) reader.read_values();
  return 0;
}
