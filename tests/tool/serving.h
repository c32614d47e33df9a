// A served folder and a client for it.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "os/path_name.h"
#include "tests/support/temp_folder.h"
#include "tool/serve/web_server.h"

namespace fmp4 {

inline void writeText(const std::filesystem::path& path, const std::string& text) {
  writeFile(path, {text.begin(), text.end()});
}

// A server over `media`, a folder inside `outside`, and a client of it.
class Serve : public testing::Test {
 protected:
  // How long the client waits: a machine that is slow or stalls fails no test.
  static constexpr std::chrono::minutes kPatience{5};

  void SetUp() override {
    std::filesystem::create_directories(media_ / "sub");
    std::filesystem::create_directory(page_);
    writeText(media_ / "digits.m4v", "0123456789");
    writeText(media_ / "empty.m4v", "");
    writeText(media_ / "sub" / "inner.mpd", "inner");
    writeText(media_ / vlPath("a b+%ü.m3u8"), "named");
    writeText(outside_.path() / "secret.m4v", "secret");
    writeText(page_ / "index.html", "<p>page</p>");
    writeText(page_ / "page.js", "script");
    server_.emplace(media_, page_, [this](const DataRequest& request) { return answerData_(request); });
    port_ = server_->start(0);
    client_.emplace("127.0.0.1", port_);
    client_->set_url_encode(false);  // paths are sent unchanged
    client_->set_read_timeout(kPatience);
    client_->set_write_timeout(kPatience);
  }

  httplib::Response get(const std::string& path, const httplib::Headers& headers = {}) {
    const httplib::Result result = client_->Get(path, headers);
    EXPECT_EQ(result.error(), httplib::Error::Success) << path;
    return result ? *result : httplib::Response();
  }
  httplib::Response range(const std::string& range, const std::string& path = "/media/digits.m4v") {
    return get(path, {{"Range", range}});
  }

  TempFolder outside_;
  std::filesystem::path media_ = outside_.path() / "media", page_ = outside_.path() / "page";
  AnswerData answerData_;  // what the program answers
  std::optional<WebServer> server_;
  std::optional<httplib::Client> client_;
  int port_ = 0;
};

}  // namespace fmp4
