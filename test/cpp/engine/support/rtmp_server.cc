#include "support/rtmp_server.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace NimboEngine::test {
namespace {

// A single process, so that a signal reaches all of the server.
constexpr char kConfiguration[] = R"(
daemon off; master_process off; pid {0}/pid; error_log {0}/error.log;
load_module /usr/lib/nginx/modules/ngx_rtmp_module.so;
events {{}}
rtmp {{ server {{
  listen 127.0.0.1:{1};
  application live {{ live on; }}
  application denied {{ live on; deny publish all; }}
  application forbidden {{ live on; on_publish http://127.0.0.1:{2}/; }}
}} }}
http {{
  access_log off; client_body_temp_path {0}/body; proxy_temp_path {0}/proxy;
  fastcgi_temp_path {0}/fastcgi; uwsgi_temp_path {0}/uwsgi; scgi_temp_path {0}/scgi;
  server {{ listen 127.0.0.1:{2}; return 403; }}
}}
)";

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  return address;
}

bool isListening(int port) {
  const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = loopback(port);
  const bool connected =
      connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(descriptor);
  return connected;
}

}  // namespace

int freePort() {
  const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = loopback(0);
  socklen_t size = sizeof address;
  EXPECT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), size), 0);
  getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size);
  close(descriptor);
  return ntohs(address.sin_port);
}

RtmpServer::RtmpServer() : port_(freePort()) {
  folder_ = std::filesystem::temp_directory_path() / "nimbo-rtmp-XXXXXX";
  if (!mkdtemp(folder_.data())) throw std::runtime_error("no folder for the RTMP server");
  const std::string file = folder_ + "/nginx.conf";
  std::ofstream(file) << fmt::format(kConfiguration, folder_, port_, freePort());
  nginx_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"nginx", "-p", folder_, "-e", folder_ + "/error.log", "-c", file});
  for (int attempt = 0; !isListening(port_); ++attempt) {
    if (attempt == 500) throw std::runtime_error("nginx does not listen");
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

RtmpServer::~RtmpServer() {
  kill();
  std::filesystem::remove_all(folder_);
}

std::string RtmpServer::url(const std::string& application, const std::string& stream) const {
  return fmt::format("rtmp://127.0.0.1:{}/{}/{}", port_, application, stream);
}

void RtmpServer::kill() {
  nginx_.reset();
}

void RtmpServer::freeze() {
  nginx_->signal(SIGSTOP);
}

void RtmpServer::thaw() {
  nginx_->signal(SIGCONT);
}

std::string probe(const std::string& url) {
  return outputOf({"ffprobe", "-v", "error", "-rw_timeout", "10000000", "-show_entries",
                   "stream=codec_name,width,height,sample_rate,channels,r_frame_rate", "-of",
                   "compact", url});
}

}  // namespace NimboEngine::test
