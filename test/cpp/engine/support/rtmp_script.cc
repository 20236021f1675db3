#include "support/rtmp_script.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "rtmp/byte_order.h"

namespace NimboEngine::test {

Bytes RtmpScript::handshake(uint8_t version) {
  Bytes bytes(1 + 2 * 1536, 0x5a);
  bytes[0] = version;
  return bytes;
}

Bytes RtmpScript::message(RtmpType type, std::span<const uint8_t> body, uint32_t timestamp,
                          uint32_t stream) {
  Bytes bytes;
  writer_.write(bytes, 3, {type, timestamp, stream, body});
  return bytes;
}

Bytes RtmpScript::number(RtmpType type, uint32_t value) {
  Bytes body;
  appendBigEndian<4>(body, value);
  Bytes bytes = message(type, body);
  if (type == RtmpType::kSetChunkSize) writer_.setChunkSize(value);
  return bytes;
}

Bytes RtmpScript::ping(uint32_t time) {
  Bytes body;
  appendBigEndian<2>(body, 6);
  appendBigEndian<4>(body, time);
  return message(RtmpType::kUserControl, body);
}

Bytes RtmpScript::values(const std::function<void(AmfWriter&)>& write, RtmpType type) {
  Bytes body;
  AmfWriter amf(body);
  write(amf);
  return message(type, body);
}

Bytes RtmpScript::connectAccepted() {
  return values([](AmfWriter& amf) {
    amf.string("_result").number(1).beginObject().name("capabilities").number(31).endObject();
    amf.beginObject().name("code").string("NetConnection.Connect.Success").endObject();
  });
}

Bytes RtmpScript::refused(double transaction, const std::string& code,
                          const std::string& description) {
  return values([&](AmfWriter& amf) {
    amf.string("_error").number(transaction).null().beginObject();
    amf.name("level").string("error").name("code").string(code);
    amf.name("description").string(description).endObject();
  });
}

Bytes RtmpScript::streamCreated(double id) {
  return values([&](AmfWriter& amf) { amf.string("_result").number(4).null().number(id); });
}

Bytes RtmpScript::status(const std::string& code, const std::string& level,
                         const std::string& description) {
  return values([&](AmfWriter& amf) {
    amf.string("onStatus").number(0).null().beginObject();
    amf.name("level").string(level).name("code").string(code);
    amf.name("description").string(description).endObject();
  });
}

Bytes RtmpScript::accepted(const std::string& code) {
  return joined({handshake(), connectAccepted(), streamCreated(), status(code)});
}

void RtmpTranscript::read(std::span<const uint8_t> bytes) {
  const std::size_t handshake = std::min(handshakeLeft_, bytes.size());
  handshakeLeft_ -= handshake;
  const auto outcome = reader_.read(bytes.subspan(handshake), [this](const RtmpMessage& message) {
    Entry entry{message.type,
                message.timestamp,
                message.stream,
                Bytes(message.body.begin(), message.body.end()),
                {}};
    if (message.type == RtmpType::kCommand || message.type == RtmpType::kData) {
      AmfReader amf(message.body);
      while (!amf.atEnd()) {
        auto value = amf.read();
        if (!value) break;
        entry.values.push_back(std::move(*value));
      }
    }
    entries_.push_back(std::move(entry));
    return true;
  });
  EXPECT_TRUE(outcome) << outcome.error().text;
}

std::vector<std::string> RtmpTranscript::commands() const {
  std::vector<std::string> names;
  for (const Entry& entry : entries_) {
    if (entry.type == RtmpType::kCommand) names.push_back(entry.values.at(0).string);
  }
  return names;
}

const RtmpTranscript::Entry* RtmpTranscript::find(std::string_view command) const {
  for (const Entry& entry : entries_) {
    if (entry.type == RtmpType::kCommand && entry.values.at(0).string == command) return &entry;
  }
  return nullptr;
}

std::vector<RtmpTranscript::Entry> RtmpTranscript::all(RtmpType type) const {
  std::vector<Entry> found;
  std::ranges::copy_if(entries_, std::back_inserter(found),
                       [type](const Entry& entry) { return entry.type == type; });
  return found;
}

}  // namespace NimboEngine::test
