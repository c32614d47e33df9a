// Clients that ask for too much, wait for nothing, or are many.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

#include "tests/tool/serving.h"

namespace fmp4 {

namespace {

// A client that sends what it likes.
class RawClient {
 public:
  explicit RawClient(int port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
      ADD_FAILURE() << "no connection";
  }
  ~RawClient() { ::close(socket_); }
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  void send(const std::string& bytes) const {
    EXPECT_EQ(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }
  // All that arrives until the server closes the connection.
  std::string receiveAll() const {
    std::string all;
    std::array<char, 4096> piece;
    for (ssize_t count; (count = ::recv(socket_, piece.data(), piece.size(), 0)) > 0;)
      all.append(piece.data(), static_cast<std::size_t>(count));
    return all;
  }

 private:
  int socket_;
};

// The server's own limit of a request line, and of a header line, is 8192 bytes.
TEST_F(Serve, RequestLinesBeyondTheLimitAreRefused) {
  EXPECT_EQ(get("/media/" + std::string(9000, 'a')).status, 414);
}

TEST_F(Serve, HeaderLinesBeyondTheLimitEndTheConnection) {
  const RawClient client(port_);
  client.send("GET / HTTP/1.1\r\nHost: localhost\r\nX: " + std::string(9000, 'a') + "\r\n\r\n");
  EXPECT_EQ(client.receiveAll().find("200 OK"), std::string::npos);
  EXPECT_EQ(get("/").status, 200);
}

TEST_F(Serve, DropsClientsThatDoNotFinishTheirRequest) {
  const RawClient client(port_);
  client.send("GET / HTTP/1.1\r\nHost: loc");
  EXPECT_EQ(get("/").status, 200);
  EXPECT_EQ(client.receiveAll().find("200 OK"), std::string::npos);
}

// More than the server has threads.
TEST_F(Serve, ClientsThatReadNothingDoNotKeepOthersOut) {
  writeText(media_ / "large.m4v", std::string(64 << 20, 'x'));
  std::vector<std::unique_ptr<RawClient>> idle;
  for (int i = 0; i < 40; ++i) {
    idle.push_back(std::make_unique<RawClient>(port_));
    idle.back()->send("GET /media/large.m4v HTTP/1.1\r\nHost: localhost\r\n\r\n");
  }
  EXPECT_EQ(get("/media/digits.m4v").body, "0123456789");
}

TEST_F(Serve, AnswersTwoHundredClientsAtOnce) {
  const std::string media(1 << 20, 'm');
  writeText(media_ / "media.m4v", media);
  std::vector<std::jthread> clients;
  for (int i = 0; i < 200; ++i) {
    clients.emplace_back([&] {
      httplib::Client client("127.0.0.1", port_);
      client.set_connection_timeout(kPatience);
      client.set_read_timeout(kPatience);
      const httplib::Result result = client.Get("/media/media.m4v");
      ASSERT_EQ(result.error(), httplib::Error::Success);
      EXPECT_EQ(result->body, media);
    });
  }
}

}  // namespace

}  // namespace fmp4
