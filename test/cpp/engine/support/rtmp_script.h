// The server's side of an RTMP session, as bytes: data that a scripted server sends, and data that
// a client has sent to it.
//
// Thread: one at a time.

#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "rtmp/amf.h"
#include "rtmp/chunk_reader.h"
#include "rtmp/chunk_writer.h"
#include "rtmp/message.h"

namespace NimboEngine::test {

using Bytes = std::vector<uint8_t>;

inline Bytes joined(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

class RtmpScript {
 public:
  // The whole handshake at once.
  static Bytes handshake(uint8_t version = 3);

  Bytes message(RtmpType type, std::span<const uint8_t> body, uint32_t timestamp = 0,
                uint32_t stream = 0);
  Bytes number(RtmpType type, uint32_t value);
  Bytes ping(uint32_t time);

  // A command or a data message whose values `write` appends.
  Bytes values(const std::function<void(AmfWriter&)>& write, RtmpType type = RtmpType::kCommand);

  Bytes connectAccepted();
  Bytes refused(double transaction, const std::string& code, const std::string& description = "");
  Bytes streamCreated(double id = 1);
  Bytes status(const std::string& code, const std::string& level = "status",
               const std::string& description = "");

  // From the handshake to an accepted stream.
  Bytes accepted(const std::string& code);

 private:
  ChunkWriter writer_;
};

// Parses the data of a client.
class RtmpTranscript {
 public:
  struct Entry {
    RtmpType type;
    uint32_t timestamp;
    uint32_t stream;
    Bytes body;
    std::vector<AmfValue> values;  // of commands and data
  };

  void read(std::span<const uint8_t> bytes);

  // Names of the commands so far.
  std::vector<std::string> commands() const;
  const Entry* find(std::string_view command) const;
  std::vector<Entry> all(RtmpType type) const;

 private:
  std::size_t handshakeLeft_ = 1 + 2 * 1536;
  ChunkReader reader_;
  std::vector<Entry> entries_;
};

}  // namespace NimboEngine::test
