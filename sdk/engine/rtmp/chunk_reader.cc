#include "rtmp/chunk_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "rtmp/byte_order.h"

namespace NimboEngine {
namespace {

constexpr std::size_t kExtendedBytes = 4;

// Format 0 has all fields: time stamp (3), length (3), type (1), message stream (4); 1 has no
// message stream, 2 only the time stamp, 3 none.
constexpr std::size_t kFieldBytes[] = {11, 7, 3, 0};

// A body's memory is kept for the next message on its chunk stream, up to this size.
constexpr std::size_t kKeptBodyBytes = std::size_t{64} * 1024;

// The first byte's lower six bits: 0 and 1 announce one or two further bytes of the identifier.
std::size_t basicHeaderBytes(uint8_t first) {
  const int id = first & 0x3f;
  return id == 0 ? 2 : id == 1 ? 3 : 1;
}

uint32_t chunkStreamId(const uint8_t* header) {
  switch (basicHeaderBytes(header[0])) {
    case 2:
      return 64u + header[1];
    case 3:
      return 64u + header[1] + 256u * header[2];
    default:
      return header[0] & 0x3f;
  }
}

int formatOf(uint8_t first) {
  return first >> 6;
}

}  // namespace

Result<void, ConnectionError> ChunkReader::read(std::span<const uint8_t> bytes,
                                                const Handler& handler) {
  if (!ended_ && !consume(bytes, handler)) ended_ = true;
  return outcome_;
}

bool ChunkReader::fail(ConnectionError error, std::string text) {
  outcome_ = tl::unexpected(ConnectionFailure{error, std::move(text)});
  return false;
}

bool ChunkReader::consume(std::span<const uint8_t> bytes, const Handler& handler) {
  while (!bytes.empty()) {
    if (!current_) {
      if (!collectHeader(bytes)) break;
      if (!applyHeader()) return false;
      if (std::exchange(unrepeated_, false)) {
        std::array<uint8_t, kExtendedBytes> taken;
        std::copy_n(&header_[headerBytes_ - kExtendedBytes], kExtendedBytes, taken.begin());
        headerBytes_ = 0;
        if (!consume(taken, handler)) return false;
        continue;
      }
      headerBytes_ = 0;
    }
    if (!consumePayload(bytes, handler)) return false;
  }
  return true;
}

// ----------------------------------------------------------------------------------------- headers

// As far as the received bytes determine it.
std::size_t ChunkReader::neededHeaderBytes() const {
  if (headerBytes_ == 0) return 1;
  const int format = formatOf(header_[0]);
  const std::size_t basic = basicHeaderBytes(header_[0]);
  const std::size_t whole = basic + kFieldBytes[format];
  if (headerBytes_ < whole) return whole;
  if (format < 3) {
    return readU24(&header_[basic]) == kExtendedMark ? whole + kExtendedBytes : whole;
  }
  const auto known = streams_.find(chunkStreamId(header_.data()));
  return known != streams_.end() && known->second.extended ? whole + kExtendedBytes : whole;
}

// Returns false when more bytes are needed.
bool ChunkReader::collectHeader(std::span<const uint8_t>& bytes) {
  while (headerBytes_ < neededHeaderBytes()) {
    if (bytes.empty()) return false;
    const std::size_t count = std::min(neededHeaderBytes() - headerBytes_, bytes.size());
    std::copy_n(bytes.begin(), count, &header_[headerBytes_]);
    headerBytes_ += count;
    bytes = bytes.subspan(count);
  }
  return true;
}

bool ChunkReader::applyHeader() {
  const int format = formatOf(header_[0]);
  ChunkStream* stream = select(chunkStreamId(header_.data()), format);
  if (!stream) return false;
  const uint8_t* fields = &header_[basicHeaderBytes(header_[0])];
  const bool begins = format < 3 || !stream->partial;
  const bool valid = begins ? beginMessage(*stream, format, fields)
                            : continueMessage(*stream, stream->extended ? fields : nullptr);
  if (!valid) return false;
  current_ = stream;
  chunkLeft_ = std::min<std::size_t>(chunkSize_, stream->length - stream->body.size());
  return true;
}

ChunkReader::ChunkStream* ChunkReader::select(uint32_t id, int format) {
  const auto known = streams_.find(id);
  if (known != streams_.end()) return &known->second;
  // Some senders begin with format 1, which only lacks the message stream.
  if (format > 1) {
    fail(ConnectionError::kProtocolViolation,
         fmt::format("chunk stream {} begins with an abbreviated header", id));
    return nullptr;
  }
  if (streams_.size() == kMaxChunkStreams) {
    fail(ConnectionError::kLimitExceeded,
         fmt::format("more than {} chunk streams", kMaxChunkStreams));
    return nullptr;
  }
  return &streams_[id];
}

// Some senders do not repeat the extended time stamp within a message.
bool ChunkReader::continueMessage(ChunkStream& stream, const uint8_t* extended) {
  unrepeated_ = extended && readU32(extended) != stream.extendedValue;
  return true;
}

bool ChunkReader::beginMessage(ChunkStream& stream, int format, const uint8_t* fields) {
  discard(stream);
  if (format < 3) {
    stream.extended = readU24(fields) == kExtendedMark;
    stream.extendedValue =
        stream.extended ? readU32(fields + kFieldBytes[format]) : readU24(fields);
    stream.delta = format == 0 ? 0 : stream.extendedValue;
    if (format == 0) stream.timestamp = stream.extendedValue;
  } else if (stream.extended && readU32(fields) != stream.extendedValue) {
    // Repeated with another value: a new absolute time stamp.
    stream.timestamp = stream.extendedValue = readU32(fields);
  }
  // Format 3 right after format 0 repeats its time: senders use it for an unchanged time stamp.
  stream.timestamp += stream.delta;
  if (format <= 1) {
    stream.length = readU24(fields + 3);
    stream.type = static_cast<RtmpType>(fields[6]);
  }
  if (format == 0) stream.stream = readLittleU32(fields + 7);
  if (stream.length > kMaxMessageBytes) {
    return fail(ConnectionError::kLimitExceeded,
                fmt::format("a message of {} bytes; at most {} are taken", stream.length,
                            kMaxMessageBytes));
  }
  stream.partial = true;
  return true;
}

// ---------------------------------------------------------------------------------------- payloads

bool ChunkReader::consumePayload(std::span<const uint8_t>& bytes, const Handler& handler) {
  ChunkStream& stream = *current_;
  const std::size_t count = std::min(chunkLeft_, bytes.size());
  stream.body.insert(stream.body.end(), bytes.begin(), bytes.begin() + static_cast<long>(count));
  bytes = bytes.subspan(count);
  chunkLeft_ -= count;
  pending_ += count;
  if (pending_ > kMaxPendingBytes) {
    return fail(ConnectionError::kLimitExceeded,
                fmt::format("more than {} bytes of unfinished messages", kMaxPendingBytes));
  }
  if (chunkLeft_ > 0) return true;
  current_ = nullptr;
  return stream.body.size() < stream.length || complete(stream, handler);
}

bool ChunkReader::complete(ChunkStream& stream, const Handler& handler) {
  bool goesOn = true;
  if (stream.type == RtmpType::kSetChunkSize) {
    goesOn = setChunkSize(stream.body);
  } else if (stream.type == RtmpType::kAbort) {
    goesOn = abort(stream.body);
  } else {
    goesOn = handler({stream.type, stream.timestamp, stream.stream, stream.body});
  }
  discard(stream);
  return goesOn;
}

bool ChunkReader::setChunkSize(std::span<const uint8_t> body) {
  if (body.size() < 4)
    return fail(ConnectionError::kProtocolViolation, "a chunk size without a value");
  const uint32_t size = readU32(body.data());
  if (size == 0 || size > INT32_MAX) {
    return fail(ConnectionError::kProtocolViolation, fmt::format("a chunk size of {}", size));
  }
  // Larger values make no difference: no message is longer.
  chunkSize_ = std::min(size, kMaxChunkSize);
  return true;
}

bool ChunkReader::abort(std::span<const uint8_t> body) {
  if (body.size() < 4) {
    return fail(ConnectionError::kProtocolViolation, "an abort message without a chunk stream");
  }
  const auto aborted = streams_.find(readU32(body.data()));
  if (aborted != streams_.end()) discard(aborted->second);
  return true;
}

void ChunkReader::discard(ChunkStream& stream) {
  pending_ -= stream.body.size();
  stream.partial = false;
  if (stream.body.capacity() > kKeptBodyBytes) {
    stream.body = {};
  } else {
    stream.body.clear();
  }
}

}  // namespace NimboEngine
