#include "fetch/http_fetch.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <span>
#include <utility>

#include "net/tcp_connect.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using Status = HttpResponse::Status;

// For name resolution, connection and TLS together.
constexpr std::chrono::seconds kConnectTimeout{10};

constexpr int kRedirects[] = {301, 302, 303, 307, 308};
constexpr int kPartial = 206;
constexpr int kNotFound = 404;
constexpr int kGone = 410;
constexpr int kRangeNotSatisfiable = 416;

FetchFailure failureOf(const ConnectionFailure& failure) {
  return {playErrorCode(failure.code), failure.text,
          failure.code == ConnectionError::kTlsUntrusted};
}

Reach reachOfAddress(GInetAddress* address) {
  return reachOf(
      std::span(g_inet_address_to_bytes(address), g_inet_address_get_native_size(address)));
}

Reach reachOfPeer(GSocket* socket) {
  const GlibPtr<GSocketAddress> peer(g_socket_get_remote_address(socket, nullptr));
  if (!peer || !G_IS_INET_SOCKET_ADDRESS(peer.get())) return Reach::kPublic;  // trusted least
  return reachOfAddress(g_inet_socket_address_get_address(G_INET_SOCKET_ADDRESS(peer.get())));
}

bool isRedirect(const HttpHead& head) {
  return std::ranges::find(kRedirects, head.status) != std::end(kRedirects) &&
         !head.location.empty();
}

}  // namespace

HttpFetch::HttpFetch(FetchUri uri, const SourceSettings& settings)
    : uri_(std::move(uri)), settings_(settings), policy_(settings) {}

std::optional<FetchFailure> HttpFetch::open(const ByteRange& range) {
  auto url = parseHttpUrl(uri_.address);
  MaybeOrigin origin = uri_.origin;
  for (int hops = 0; url && hops <= kMostRedirects; ++hops) {
    if (const auto allowed = policy_.checkScheme(origin, url->scheme); !allowed) {
      return refusedFetch(allowed.error().text);
    }
    if (auto failure = request(*url, origin, range)) return failure;
    if (!isRedirect(response_->head())) return judge(*url, range);
    origin = self_;
    url = resolveHttpUrl(url->text(), response_->head().location);
  }
  if (!url) return refusedFetch(url.error().text);
  return refusedFetch(fmt::format("more than {} redirects", kMostRedirects));
}

std::optional<FetchFailure> HttpFetch::request(const HttpUrl& url, const MaybeOrigin& origin,
                                               const ByteRange& range) {
  stream_.reset();
  response_.emplace(settings_.headerBytes);
  status_ = Status::kHead;
  early_.clear();
  if (auto failure = connect(url, origin)) return failure;
  if (auto failure = send(url, range)) return failure;
  return awaitHead(url);
}

std::optional<FetchFailure> HttpFetch::connect(const HttpUrl& url, const MaybeOrigin& origin) {
  if (!stop_.isValid()) return FetchFailure{kLumoLiveErrorPlayRejected, "no descriptor is left"};
  const auto deadline = std::chrono::steady_clock::now() + kConnectTimeout;
  bool refused = false;
  auto connected = connectTcp(url.host, url.port, stop_, deadline, [&](GInetAddress* address) {
    const bool allowed = policy_.allowsReach(origin, reachOfAddress(address));
    refused = refused || !allowed;
    return allowed;
  });
  if (!connected) {
    if (!refused) return failureOf(connected.error());
    return refusedFetch(fmt::format(
        "a server at a public address may not name {}, which is at a local address", url.host));
  }
  self_ = {url.scheme, reachOfPeer(connected->get())};
  stream_ = std::make_unique<ByteStream>(std::move(*connected));
  if (!url.isEncrypted()) return std::nullopt;
  const auto secured = stream_->startTls(url.host, url.port, stop_, deadline);
  return secured ? std::nullopt : std::optional(failureOf(secured.error()));
}

std::string HttpFetch::requestText(const HttpUrl& url, const ByteRange& range) const {
  std::string text = fmt::format(
      "GET {} HTTP/1.1\r\nHost: {}\r\nUser-Agent: NimboEngine\r\nAccept: */*\r\n"
      "Accept-Encoding: identity\r\nConnection: close\r\n",
      url.target, url.authority());
  if (const std::string value = url.authorization(); !value.empty()) {
    text += fmt::format("Authorization: {}\r\n", value);
  }
  // A cache in between would return a stale live playlist.
  if (uri_.kind == FetchKind::kPlaylist) text += "Cache-Control: max-age=0\r\n";
  if (range.start > 0 || range.end) {
    text += fmt::format("Range: bytes={}-{}\r\n", range.start,
                        range.end ? fmt::format("{}", *range.end - 1) : "");
  }
  return text + "\r\n";
}

std::optional<FetchFailure> HttpFetch::send(const HttpUrl& url, const ByteRange& range) {
  const std::string text = requestText(url, range);
  std::span<const uint8_t> left(reinterpret_cast<const uint8_t*>(text.data()), text.size());
  while (!left.empty() && !stop_.isStopped()) {
    std::size_t count = 0;
    const auto result = stream_->write(left, count);
    if (result == ByteStream::Result::kFailed) return failureOf(stream_->failure());
    left = left.subspan(count);
    if (result == ByteStream::Result::kWouldBlock) wait(POLLOUT);
  }
  return std::nullopt;
}

std::optional<FetchFailure> HttpFetch::awaitHead(const HttpUrl& url) {
  while (status_ == Status::kHead) {
    if (receive(early_)) continue;
    if (stop_.isStopped()) return FetchFailure{};
    return FetchFailure{failure_.code, fmt::format("{}: {}", url.authority(), failure_.text)};
  }
  if (status_ == Status::kBody || status_ == Status::kComplete) return std::nullopt;
  return errorOf(status_);
}

std::optional<FetchFailure> HttpFetch::judge(const HttpUrl& url, const ByteRange& range) {
  const HttpHead& head = response_->head();
  url_ = url;
  if (head.status == kRangeNotSatisfiable && range.start > 0) {  // at the end of the resource
    status_ = Status::kComplete;
    early_.clear();
    return std::nullopt;
  }
  if (head.status < 200 || head.status > 299) {
    const bool missing = head.status == kNotFound || head.status == kGone;
    return FetchFailure{missing ? kLumoLiveErrorStreamNotFound : kLumoLiveErrorPlayRejected,
                        fmt::format("{} answers {}", url.authority(), head.status)};
  }
  if (!head.contentCoding.empty()) {
    return refusedFetch(fmt::format("{} compresses what was to be sent as it is", url.authority()));
  }
  const bool partial = head.status == kPartial;
  if (range.start > 0 && (!partial || head.rangeStart.value_or(range.start) != range.start)) {
    return FetchFailure{kLumoLiveErrorPlayRejected,
                        fmt::format("{} does not send parts of a file", url.authority())};
  }
  length_ = partial ? head.wholeLength : head.length;
  if (range.end) left_ = *range.end - range.start;
  return std::nullopt;
}

Fetch::Read HttpFetch::read(std::vector<uint8_t>& bytes) {
  bytes = std::exchange(early_, {});
  while (bytes.empty() && status_ == Status::kBody && left_ != 0U) {
    if (receive(bytes)) continue;
    return stop_.isStopped() ? Read::kStopped : Read::kFailed;
  }
  if (left_) {
    bytes.resize(static_cast<std::size_t>(std::min<uint64_t>(bytes.size(), *left_)));
    *left_ -= bytes.size();
  }
  if (!bytes.empty()) return Read::kData;
  if (status_ == Status::kComplete || left_ == 0U) return Read::kEnd;
  failure_ = errorOf(status_);
  return Read::kFailed;
}

// Reads received data, blocking until there is some. Returns false after a stop, and if reading has
// failed.
bool HttpFetch::receive(std::vector<uint8_t>& body) {
  while (!stop_.isStopped()) {
    std::size_t count = 0;
    switch (stream_->read(received_, count)) {
      case ByteStream::Result::kDone:
        status_ = response_->feed(std::span(received_).first(count), body);
        return true;
      case ByteStream::Result::kWouldBlock:
        wait(POLLIN);
        break;
      case ByteStream::Result::kFailed:
        failure_ = failureOf(stream_->failure());
        if (stream_->failure().code != ConnectionError::kClosedByPeer) return false;
        status_ = response_->end();
        return status_ == Status::kComplete;
    }
  }
  return false;
}

void HttpFetch::wait(short events) const {
  pollfd polled[] = {{stream_->descriptor(), events, 0}, {stop_.descriptor(), POLLIN, 0}};
  poll(polled, std::size(polled), -1);
}

FetchFailure HttpFetch::errorOf(HttpResponse::Status status) const {
  if (status == Status::kHeaderLimit) {
    return refusedFetch(fmt::format("the headers of an answer are larger than {} KiB, the limit",
                                    settings_.headerBytes >> 10));
  }
  return {kLumoLiveErrorPlayRejected, "an answer is no HTTP", false};
}

NameAddress HttpFetch::nameAddress() const {
  return [base = url_.text(), player = uri_.player, origin = self_, policy = policy_](
             const std::string& reference, FetchKind kind) -> Result<std::string> {
    const auto url = resolveHttpUrl(base, reference);
    if (!url) return tl::unexpected(url.error());
    if (const auto allowed = policy.checkScheme(origin, url->scheme); !allowed) {
      return tl::unexpected(allowed.error());
    }
    return FetchUri{player, kind, origin, url->text()}.text();
  };
}

}  // namespace NimboEngine
