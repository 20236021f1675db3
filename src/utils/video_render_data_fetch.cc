// The V8 part of the render-data cache.

#include <node.h>
#include <node_buffer.h>

#include "utils/object_builder.h"
#include "utils/video_render_data_cache.h"

namespace LumoLivePushElectronSDK {
namespace {

constexpr int kUnknownUser = -101;

using FrameBuffers = std::array<v8::Local<v8::ArrayBuffer>, kFrameSlots>;

// One buffer for each fresh frame, of any content: unlike V8's, Node's are not filled with zeros.
// May collect garbage, and so must run without any lock.
FrameBuffers AllocateBuffers(v8::Isolate* isolate, const FreshFrames& fresh) {
  FrameBuffers buffers;
  for (std::size_t i = 0; i < kFrameSlots; ++i) {
    if (!fresh[i]) continue;
    const auto buffer = node::Buffer::New(isolate, fresh[i]->size).ToLocalChecked();
    buffers[i] = buffer.As<v8::Uint8Array>()->Buffer();
  }
  return buffers;
}

FrameTargets TargetsOf(const FrameBuffers& buffers) {
  FrameTargets targets{};
  for (std::size_t i = 0; i < kFrameSlots; ++i) {
    if (!buffers[i].IsEmpty()) targets[i] = static_cast<unsigned char*>(buffers[i]->Data());
  }
  return targets;
}

// The three planes are views of one buffer. Numbers go as 64 bits: a length may have all 32 bits.
v8::Local<v8::Object> FrameObject(v8::Isolate* isolate, std::size_t source, const std::string& uid,
                                  const I420Layout& layout, v8::Local<v8::ArrayBuffer> bytes) {
  const auto plane = [&](std::size_t offset, std::size_t length) {
    // Fails only while a script is being stopped; events come when no script runs.
    return node::Buffer::New(isolate, bytes, offset, length).ToLocalChecked();
  };
  const std::size_t u_offset = layout.y_length;
  const std::size_t v_offset = u_offset + layout.u_length;
  return ObjectBuilder(isolate)
      .Set("source", uint64_t{source})
      .Set("user_id", uid)
      .Set("width", uint64_t{layout.width})
      .Set("height", uint64_t{layout.height})
      .Set("data_y", plane(0, layout.y_length))
      .Set("data_y_len", uint64_t{layout.y_length})
      .Set("data_u", plane(u_offset, layout.u_length))
      .Set("data_u_len", uint64_t{layout.u_length})
      .Set("data_v", plane(v_offset, layout.v_length))
      .Set("data_v_len", uint64_t{layout.v_length})
      .object();
}

}  // namespace

int VideoRenderDataManager::FetchVideoRenderDataByUid(std::string& uid, v8::Local<v8::Array>& out) {
  auto* isolate = v8::Isolate::GetCurrent();
  const v8::HandleScope scope(isolate);
  std::optional<FreshFrames> fresh;
  FrameBuffers buffers;
  do {
    fresh = frames_.PeekFresh(uid);
    if (!fresh) return kUnknownUser;
    buffers = AllocateBuffers(isolate, *fresh);
  } while (!frames_.TakeFresh(uid, *fresh, TargetsOf(buffers)));

  uint32_t index = 0;
  for (std::size_t i = 0; i < kFrameSlots; ++i) {
    if (!(*fresh)[i]) continue;
    const auto object = FrameObject(isolate, i, uid, *(*fresh)[i], buffers[i]);
    SetElement(isolate, out, index++, object);
  }
  return 0;
}

}  // namespace LumoLivePushElectronSDK
