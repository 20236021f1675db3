// Fetches from servers on loopback.

#include "fetch/http_fetch.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "fetch/fetch_stream.h"
#include "support/loopback_peer.h"

namespace NimboEngine::test {
namespace {

using namespace LumoRtc;

constexpr Origin kPublic{SourceScheme::kHttp, Reach::kPublic};

void send(PeerStream& peer, const std::string& text) {
  peer.send({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

// The request, up to its end.
std::string requestOf(PeerStream& peer) {
  std::string request;
  while (request.find("\r\n\r\n") == request.npos) {
    const auto bytes = peer.receiveSome();
    if (bytes.empty()) break;
    request.append(bytes.begin(), bytes.end());
  }
  return request;
}

std::string ok(const std::string& body) {
  return fmt::format("HTTP/1.1 200 OK\r\nContent-Length: {}\r\n\r\n{}", body.size(), body);
}

// Answers each request by calling `answer`, and keeps the last one.
class Server {
 public:
  explicit Server(std::function<std::string(const std::string&)> answer,
                  const std::string& certificate = "")
      : peer_(
            [this, answer = std::move(answer)](PeerStream& peer) {
              const std::string request = requestOf(peer);
              {
                std::lock_guard lock(mutex_);
                last_ = request;
              }
              send(peer, answer(request));
            },
            certificate) {}

  std::string address(const std::string& path, const std::string& scheme = "http") const {
    return fmt::format("{}://127.0.0.1:{}{}", scheme, peer_.port(), path);
  }
  std::string last() {
    std::lock_guard lock(mutex_);
    return last_;
  }

 private:
  std::mutex mutex_;
  std::string last_;
  LoopbackPeer peer_;
};

struct Fetched {
  std::optional<FetchFailure> failure;
  std::string body;
};

Fetched fetch(const std::string& address, const ByteRange& range = {},
              const MaybeOrigin& origin = std::nullopt, const SourceSettings& settings = {}) {
  HttpFetch fetching({1, FetchKind::kMedia, origin, address}, settings);
  Fetched outcome{fetching.open(range), {}};
  std::vector<uint8_t> bytes;
  while (!outcome.failure) {
    const auto read = fetching.read(bytes);
    if (read == Fetch::Read::kEnd) break;
    if (read == Fetch::Read::kFailed) outcome.failure = fetching.failure();
    outcome.body.append(bytes.begin(), bytes.end());
  }
  return outcome;
}

TEST(HttpFetch, RequestsTheWantedRange) {
  Server server([](const std::string&) { return ok("hello"); });
  EXPECT_EQ(fetch(server.address("/a b?c=d")).body, "hello");
  EXPECT_TRUE(server.last().starts_with("GET /a%20b?c=d HTTP/1.1\r\nHost: 127.0.0.1:"));
  EXPECT_EQ(server.last().find("Range:"), std::string::npos);
  EXPECT_EQ(server.last().find("Authorization:"), std::string::npos);
}

TEST(HttpFetch, ReadsTheRangeAndNoMore) {
  Server server([](const std::string& request) {
    return request.find("Range: bytes=2-4\r\n") == request.npos
               ? ok("0123456789")
               : "HTTP/1.1 206 Partial\r\nContent-Range: bytes 2-9/10\r\n\r\n23456789";
  });
  EXPECT_EQ(fetch(server.address("/"), {2, 5}).body, "234") << "the server sends too much";
  EXPECT_EQ(fetch(server.address("/"), {0, 3}).body, "012") << "the server ignores the range";
  const auto refused = fetch(server.address("/"), {5, {}}).failure;
  ASSERT_TRUE(refused);
  EXPECT_NE(refused->text.find("does not send parts"), std::string::npos);
}

TEST(HttpFetch, APartBehindTheEndIsEmpty) {
  Server server(
      [](const std::string&) { return "HTTP/1.1 416 No\r\nContent-Length: 2\r\n\r\nno"; });
  const Fetched outcome = fetch(server.address("/"), {5, {}});
  EXPECT_FALSE(outcome.failure);
  EXPECT_EQ(outcome.body, "");
}

TEST(HttpFetch, FollowsRedirects) {
  Server server([](const std::string& request) {
    return request.starts_with("GET /new ")
               ? ok("there")
               : "HTTP/1.1 302 Found\r\nLocation: new\r\nContent-Length: 0\r\n\r\n";
  });
  EXPECT_EQ(fetch(server.address("/old")).body, "there");
}

TEST(HttpFetch, ChecksRedirects) {
  std::string target;
  Server server([&](const std::string&) {
    return fmt::format("HTTP/1.1 302 Found\r\nLocation: {}\r\nContent-Length: 0\r\n\r\n", target);
  });
  for (const char* each : {"file:///etc/passwd", "fd://0", "srt://:1?mode=listener", "ftp://h/",
                           "http://h\x01/", "/self"}) {
    target = each;
    const auto failure = fetch(server.address("/")).failure;
    ASSERT_TRUE(failure) << each;
    EXPECT_EQ(failure->code, kLumoLiveErrorPlayRejected);
    EXPECT_TRUE(failure->isFinal) << each;
  }
}

TEST(HttpFetch, AServerAtAPublicAddressDoesNotReachALocalOne) {
  Server server([](const std::string&) { return ok("secret"); });
  for (const std::string& host :
       {std::string("127.0.0.1"), std::string("localhost"), std::string("[::ffff:127.0.0.1]")}) {
    std::string address = server.address("/");
    address.replace(address.find("127.0.0.1"), 9, host);
    const Fetched outcome = fetch(address, {}, kPublic);
    ASSERT_TRUE(outcome.failure) << host;
    EXPECT_TRUE(outcome.failure->isFinal) << host << ": " << outcome.failure->text;
    EXPECT_NE(outcome.failure->text.find("at a local address"), std::string::npos) << host;
  }
  EXPECT_EQ(server.last(), "") << "no connection was made";
  SourceSettings settings;
  settings.localFromPublic = true;
  EXPECT_EQ(fetch(server.address("/"), {}, kPublic, settings).body, "secret");
}

TEST(HttpFetch, NamesWhatAPlaylistMayName) {
  Server server([](const std::string&) { return ok("list"); });
  HttpFetch fetching({3, FetchKind::kStream, std::nullopt, server.address("/a/list.m3u8?t=1")}, {});
  ASSERT_FALSE(fetching.open({}));
  const NameAddress name = fetching.nameAddress();
  const auto named = name("b.ts", FetchKind::kMedia);
  ASSERT_TRUE(named) << named.error().text;
  EXPECT_EQ(*named, "nimbo:3:media:http-local:" + server.address("/a/b.ts"));
  const auto udp = name("udp://h:1", FetchKind::kMedia);
  ASSERT_FALSE(udp);
  EXPECT_EQ(udp.error().text, "an address has the scheme udp, not http or https");
}

TEST(HttpFetch, ErrorsNameHostAndPortAtMost) {
  Server server([](const std::string&) { return "HTTP/1.1 403 Your token=s3cret\r\n\r\n"; });
  std::string address = server.address("/path?token=s3cret");
  address.insert(address.find("127"), "user:s3cret@");
  const auto failure = fetch(address).failure;
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->code, kLumoLiveErrorPlayRejected);
  EXPECT_TRUE(failure->text.ends_with(" answers 403")) << failure->text;
  EXPECT_EQ(failure->text.find("s3cret"), std::string::npos);
  EXPECT_EQ(failure->text.find("path"), std::string::npos);
}

TEST(HttpFetch, AnUntrustedCertificateHasItsCode) {
  const auto folder = std::filesystem::temp_directory_path() / "http_fetch_test";
  std::filesystem::create_directories(folder);
  const std::string certificate = makeCertificate(folder.string(), "IP:127.0.0.1");
  Server server([](const std::string&) { return ok("hello"); }, certificate);
  const auto failure = fetch(server.address("/", "https")).failure;
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->code, kLumoLiveErrorServerUntrusted);
  EXPECT_TRUE(failure->isFinal);
  std::filesystem::remove_all(folder);
}

TEST(HttpFetch, AStopInterruptsAllWaiting) {
  // No data at all; stopped in the middle of the head; stopped in the middle of the body.
  for (const char* said : {"", "HTTP/1.1 200 OK\r\nX", "HTTP/1.1 200 OK\r\n\r\nbegin"}) {
    LoopbackPeer server([&](PeerStream& peer) {
      send(peer, said);
      peer.receiveAll();
    });
    HttpFetch fetching(
        {1, FetchKind::kMedia, std::nullopt, fmt::format("http://127.0.0.1:{}/", server.port())},
        {});
    std::thread stopper([&] { fetching.stop(); });
    std::vector<uint8_t> bytes;
    if (!fetching.open({})) {
      while (fetching.read(bytes) == Fetch::Read::kData) {
      }
    }
    EXPECT_TRUE(fetching.isStopped());
    stopper.join();
  }
}

std::string readAll(FetchStream& stream, Fetch::Read& last) {
  std::string text;
  std::vector<uint8_t> bytes;
  while ((last = stream.read(bytes)) == Fetch::Read::kData) text.append(bytes.begin(), bytes.end());
  return text;
}

TEST(FetchStream, ResumesWhereTheConnectionBroke) {
  const std::string whole = "0123456789";
  Server server([&](const std::string& request) {
    const auto range = request.find("Range: bytes=");
    if (range == request.npos) {
      return std::string("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n0123");
    }
    const int start = std::stoi(request.substr(range + 13));
    return fmt::format("HTTP/1.1 206 P\r\nContent-Range: bytes {}-9/10\r\n\r\n{}", start,
                       whole.substr(static_cast<std::size_t>(start)));
  });
  const auto access = FetchAccess::open({}, [](const FetchFailure&) {});
  FetchStream stream(*parseFetchUri(access->uriOf(server.address("/"))));
  Fetch::Read last{};
  EXPECT_EQ(readAll(stream, last), whole);
  EXPECT_EQ(last, Fetch::Read::kEnd);
}

TEST(FetchStream, GivesUpWithoutProgress) {
  int requests = 0;
  Server server([&](const std::string& request) {
    ++requests;
    const bool first = request.find("Range:") == request.npos;
    return std::string(first ? "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n0123"
                             : "HTTP/1.1 206 P\r\nContent-Length: 6\r\n\r\n");
  });
  std::vector<FetchFailure> reported;
  const auto access =
      FetchAccess::open({}, [&](const FetchFailure& failure) { reported.push_back(failure); });
  FetchStream stream(*parseFetchUri(access->uriOf(server.address("/"))));
  Fetch::Read last{};
  EXPECT_EQ(readAll(stream, last), "0123");
  EXPECT_EQ(last, Fetch::Read::kFailed);
  EXPECT_EQ(requests, 4);
  EXPECT_EQ(reported.size(), 1U);
}

TEST(FetchStream, ReadsNothingForAPlayerThatIsGone) {
  std::string uri;
  {
    const auto access = FetchAccess::open({}, [](const FetchFailure&) {});
    uri = access->uriOf("http://127.0.0.1:1/");
  }
  FetchStream stream(*parseFetchUri(uri));
  std::vector<uint8_t> bytes;
  EXPECT_EQ(stream.read(bytes), Fetch::Read::kStopped);
}

}  // namespace
}  // namespace NimboEngine::test
