#include <memory>
#include <vector>

#include "NimboSdk/LumoLiveDefine.h"
#include "mix/mix_streams.h"

namespace LumoRtc {

struct LumoLiveMixStreamArrayAccess {
  static void* storage(const LumoLiveMixStreamArray& array) { return array.mStorage; }
};

namespace {

using Streams = std::vector<LumoLiveMixStream>;

// The header declares the storage as a bare pointer, so that its layout stays private to this
// library.
Streams& streams(void* storage) {
  return *static_cast<Streams*>(storage);
}

void* makeStorage(const Streams& content) {
  return std::make_unique<Streams>(content).release();
}

}  // namespace

LumoLiveMixStreamArray::LumoLiveMixStreamArray() : mStorage(makeStorage({})) {}

LumoLiveMixStreamArray::LumoLiveMixStreamArray(const LumoLiveMixStreamArray& other)
    : mStorage(makeStorage(streams(other.mStorage))) {}

LumoLiveMixStreamArray& LumoLiveMixStreamArray::operator=(const LumoLiveMixStreamArray& other) {
  if (this != &other) streams(mStorage) = streams(other.mStorage);
  return *this;
}

LumoLiveMixStreamArray::~LumoLiveMixStreamArray() {
  std::unique_ptr<Streams>(static_cast<Streams*>(mStorage)).reset();
}

void LumoLiveMixStreamArray::Add(const LumoLiveMixStream& stream) {
  streams(mStorage).push_back(stream);
}

void LumoLiveMixStreamArray::Clear() {
  streams(mStorage).clear();
}

}  // namespace LumoRtc

namespace NimboEngine {

const std::vector<LumoRtc::LumoLiveMixStream>& streamsOf(
    const LumoRtc::LumoLiveMixStreamArray& array) {
  return LumoRtc::streams(LumoRtc::LumoLiveMixStreamArrayAccess::storage(array));
}

}  // namespace NimboEngine
