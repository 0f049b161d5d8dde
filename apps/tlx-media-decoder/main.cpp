// A process that looks into pictures and videos on the picker's behalf. Which libraries it brings along is decided by
// what is linked beside this file.

#include "adapters/photolibrary/decoding/worker/Main.h"

#include "adapters/photolibrary/decoding/worker/DecodingHandler.h"
#include "adapters/photolibrary/images/codecs/ImageDecoder.h"

int main(int argc, char** argv) {
  using namespace tlx::photolibrary;
  // Whatever a library opens or loads, it must have by now.
  prepareHeif();
  prepareVips();
  DecodingHandler handler;
  return serveAsWorker(argc, argv, handler);
}
