// Fetches over HTTP/1.1, with or without TLS, one request a connection. Redirects are followed
// here, since each is checked against the server that sent it (SourcePolicy).
//
// The addresses that a name resolves to are checked before a connection is tried, and the
// connection goes to one of these, so DNS rebinding is ineffective. Proxies are not used, as for
// every other protocol of the engine.
//
// Thread, memory, failure: see Fetch. Error texts show only host and port of an address.

#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fetch/fetch.h"
#include "fetch/fetch_uri.h"
#include "fetch/http_response.h"
#include "fetch/http_url.h"
#include "net/byte_stream.h"
#include "net/stop_signal.h"

namespace NimboEngine {

class HttpFetch final : public Fetch {
 public:
  static constexpr int kMostRedirects = 10;

  HttpFetch(FetchUri uri, const SourceSettings& settings);

  std::optional<FetchFailure> open(const ByteRange& range) override;
  Read read(std::vector<uint8_t>& bytes) override;
  void stop() override { stop_.stop(); }
  bool isStopped() const override { return stop_.isStopped(); }
  std::optional<uint64_t> length() const override { return length_; }
  bool isSeekable() const override { return length_ && !response_->head().refusesRanges; }
  NameAddress nameAddress() const override;

 private:
  std::optional<FetchFailure> request(const HttpUrl& url, const MaybeOrigin& origin,
                                      const ByteRange& range);
  std::optional<FetchFailure> connect(const HttpUrl& url, const MaybeOrigin& origin);
  std::optional<FetchFailure> send(const HttpUrl& url, const ByteRange& range);
  std::optional<FetchFailure> awaitHead(const HttpUrl& url);
  std::optional<FetchFailure> judge(const HttpUrl& url, const ByteRange& range);
  std::string requestText(const HttpUrl& url, const ByteRange& range) const;
  bool receive(std::vector<uint8_t>& body);
  void wait(short events) const;
  FetchFailure errorOf(HttpResponse::Status status) const;

  const FetchUri uri_;
  const SourceSettings settings_;
  const SourcePolicy policy_;
  StopSignal stop_;

  std::unique_ptr<ByteStream> stream_;
  std::optional<HttpResponse> response_;
  HttpResponse::Status status_ = HttpResponse::Status::kHead;
  std::array<uint8_t, 65536> received_;
  std::vector<uint8_t> early_;      // of the body: received together with the head
  HttpUrl url_;                     // that of the answer, behind all redirects
  Origin self_;                     // the origin of the addresses that it names
  std::optional<uint64_t> length_;  // of the whole
  std::optional<uint64_t> left_;    // of the range, where it has an end
};

}  // namespace NimboEngine
