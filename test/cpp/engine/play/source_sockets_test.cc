#include "play/source_sockets.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

#include "base/glib_ptr.h"

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

// A server that accepts and sends nothing, and a client like that of GStreamer's sources.
class SourceSocketsTest : public testing::Test {
 protected:
  SourceSocketsTest() : listener_(g_socket_listener_new()) {
    port_ = g_socket_listener_add_any_inet_port(listener_, nullptr, nullptr);
    sockets_ =
        std::make_shared<SourceSockets>([this](const std::string& text) { refusal_ = text; });
  }
  ~SourceSocketsTest() override {
    g_socket_listener_close(listener_);
    g_object_unref(listener_);
  }

  GlibPtr<GIOStream> connect() {
    GSocketClient* client = g_socket_client_new();
    GSocketConnection* connection =
        g_socket_client_connect_to_host(client, "127.0.0.1", port_, nullptr, nullptr);
    g_object_unref(client);
    return GlibPtr<GIOStream>(connection ? G_IO_STREAM(connection) : nullptr);
  }

  static gssize read(GIOStream* stream) {
    std::array<char, 16> buffer;
    return g_input_stream_read(g_io_stream_get_input_stream(stream), buffer.data(), buffer.size(),
                               nullptr, nullptr);
  }

  GSocketListener* listener_;
  guint16 port_ = 0;
  std::string refusal_;
  std::shared_ptr<SourceSockets> sockets_;
};

TEST_F(SourceSocketsTest, CuttingEndsAReadThatWaits) {
  sockets_->adoptThread();
  const auto stream = connect();
  ASSERT_TRUE(stream);
  std::promise<void> reading;
  auto result = std::async(std::launch::async, [&] {
    reading.set_value();
    return read(stream.get());
  });
  reading.get_future().wait();
  EXPECT_EQ(result.wait_for(50ms), std::future_status::timeout) << "nothing is sent";
  sockets_->cut();
  EXPECT_EQ(result.wait_for(5s), std::future_status::ready);
}

TEST_F(SourceSocketsTest, ConnectionsAfterACutFail) {
  sockets_->adoptThread();
  sockets_->cut();
  EXPECT_FALSE(connect());
}

TEST_F(SourceSocketsTest, OtherThreadsAreLeftAlone) {
  sockets_->adoptThread();
  sockets_->cut();
  EXPECT_TRUE(std::async(std::launch::async, [this] { return connect() != nullptr; }).get());
}

TEST_F(SourceSocketsTest, CountsReceivedBytes) {
  sockets_->adoptThread();
  const auto stream = connect();
  const GlibPtr<GIOStream> peer(
      G_IO_STREAM(g_socket_listener_accept(listener_, nullptr, nullptr, nullptr)));
  ASSERT_TRUE(stream && peer);
  EXPECT_EQ(sockets_->receivedBytes(), 0u);
  g_output_stream_write_all(g_io_stream_get_output_stream(peer.get()), "12345", 5, nullptr, nullptr,
                            nullptr);
  EXPECT_GT(read(stream.get()), 0);
  EXPECT_EQ(sockets_->receivedBytes(), 5u);
}

TEST_F(SourceSocketsTest, RefusesTooManyConnections) {
  sockets_->adoptThread();
  for (int i = 0; i < SourceSockets::kMaxConnections; ++i) EXPECT_TRUE(connect()) << i;
  EXPECT_EQ(refusal_, "");
  EXPECT_FALSE(connect());
  EXPECT_EQ(refusal_, "the server redirects without end");
}

TEST_F(SourceSocketsTest, ADelayedCutDoesNotBlockDestruction) {
  const auto began = std::chrono::steady_clock::now();
  { const DelayedCut cut(sockets_, 1h); }
  EXPECT_LT(std::chrono::steady_clock::now() - began, 10s);
}

}  // namespace
}  // namespace NimboEngine
