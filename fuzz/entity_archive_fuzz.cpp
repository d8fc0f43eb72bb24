// The print-model archive: Entity::read_archive over a stream on the fuzz bytes, both
// seekable (the reader knows how much is left) and unseekable (it must find out).
#include <boost/interprocess/streams/bufferstream.hpp>
#include <cstdint>
#include <istream>
#include <streambuf>

#include "FuzzSupport.h"
#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/ModelArchive.h"
#include "quorvex/capture/ArchiveStream.h"

namespace {

// A forward-only buffer: seeking and telling fail, as on a pipe.
class ForwardOnlyBuffer : public std::streambuf {
 public:
  ForwardOnlyBuffer(const uint8_t* data, size_t size) {
    char* p = const_cast<char*>(reinterpret_cast<const char*>(data));
    setg(p, p, p + size);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QuorvexFuzz::quiet_process();
  {
    boost::interprocess::basic_ibufferstream<char> in(reinterpret_cast<const char*>(data), size);
    Quorvex::ReadAble handle(in);
    Quorvex::Entity entity;
    entity.read_archive(handle);
  }
  {
    ForwardOnlyBuffer buf(data, size);
    std::istream in(&buf);
    Quorvex::ReadAble handle(in);
    Quorvex::Entity entity;
    entity.read_archive(handle);
  }
  return 0;
}
