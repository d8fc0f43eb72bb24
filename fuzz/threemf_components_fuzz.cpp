// The count of placements taken from a 3MF model's XML before lib3mf reads the package. Any
// bytes must give a count without a crash, and the count may not depend on where the XML
// was cut into pieces: the package is read in blocks whose bounds fall anywhere.
#include <cstdint>
#include <cstdlib>

#include "ThreeMfComponentScan.h"

namespace {

std::uint64_t count_in_pieces(const char* text, size_t size, size_t piece) {
  Quorvex::ComponentPlacementCounter counter;
  for (size_t at = 0; at < size; at += piece) {
    counter.feed(text + at, size - at < piece ? size - at : piece);
  }
  return counter.placements();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* text = reinterpret_cast<const char*>(data);
  const std::uint64_t whole = count_in_pieces(text, size, size == 0 ? 1 : size);
  // A piece size taken from the input, so that cuts land in every state.
  const size_t piece = size == 0 ? 1 : 1 + data[0] % 13;
  if (count_in_pieces(text, size, piece) != whole) std::abort();
  return 0;
}
