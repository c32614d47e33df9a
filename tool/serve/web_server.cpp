#include "tool/serve/web_server.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "base/user_error.h"
#include "tool/serve/folder_recordings.h"

namespace fmp4 {

namespace {

constexpr const char* kAddress = "127.0.0.1";
constexpr std::size_t kThreads = 32;           // a browser keeps six connections open
constexpr time_t kKeepAliveSeconds = 1;        // also the longest wait for idle connections at the end
constexpr std::size_t kSentPiece = 256 << 10;  // bytes read and sent at a time

// Whether the client addressed this machine by name. A foreign page whose host name was made to resolve to
// this machine does not.
bool namesLoopback(std::string host) {
  host.resize(std::min(host.size(), host.rfind(':')));
  return host == kAddress || host == "localhost";
}

httplib::ContentProvider contentOf(const ServedFile& file) {
  const auto stream = std::make_shared<std::ifstream>(file.path, std::ios::binary);
  const auto piece = std::make_shared<std::vector<char>>(kSentPiece);
  return [stream, piece](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
    const std::size_t count = std::min(length, kSentPiece);
    stream->seekg(static_cast<std::streamoff>(offset));
    if (!stream->read(piece->data(), static_cast<std::streamsize>(count))) return false;
    return sink.write(piece->data(), count);
  };
}

void refuse(httplib::Response& response, int status, const std::string& why) {
  response.status = status;
  response.set_content(why + "\n", "text/plain; charset=utf-8");
}

// One server per port. The library would share it with other servers of the same user, and with programs that
// are started.
void claimPort(socket_t socket) {
#ifdef _WIN32
  constexpr int kOption = SO_EXCLUSIVEADDRUSE;
#else
  constexpr int kOption = SO_REUSEADDR;  // a port can be reused soon after its server ended
  fcntl(socket, F_SETFD, FD_CLOEXEC);
#endif
  const int on = 1;
  setsockopt(socket, SOL_SOCKET, kOption, reinterpret_cast<const char*>(&on), sizeof on);
}

}  // namespace

httplib::Ranges satisfiableRanges(const httplib::Ranges& asked, std::uint64_t size) {
  httplib::Ranges ranges;
  const auto last = static_cast<ssize_t>(size) - 1;
  for (auto [first, end] : asked) {
    if (first < 0) {  // the last `end` bytes
      if (end <= 0) continue;
      first = std::max<ssize_t>(last + 1 - end, 0);
      end = last;
    }
    if (end < 0) end = last;
    if (first <= last && first <= end) ranges.emplace_back(first, std::min(end, last));
  }
  return ranges;
}

WebServer::WebServer(const std::filesystem::path& media, const std::filesystem::path& page,
                     AnswerData answerData)
    : media_(media), page_(page), answerData_(std::move(answerData)) {
  server_.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
  server_.set_keep_alive_timeout(kKeepAliveSeconds);
  server_.set_tcp_nodelay(true);
  server_.set_socket_options([this](socket_t socket) {
    claimPort(socket);
    socket_ = socket;
  });
  server_.set_default_headers({{"Cache-Control", "no-store"},
                               {"X-Content-Type-Options", "nosniff"},
                               {"Cross-Origin-Resource-Policy", "same-origin"}});
  // Not matched with the library's patterns: names come from outside, and matching is recursive.
  server_.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
    answer(request, response);
    return httplib::Server::HandlerResponse::Handled;
  });
}

WebServer::~WebServer() {
  server_.stop();
  if (answering_.joinable()) answering_.join();
}

int WebServer::start(int port) {
  if (port == 0)
    port = server_.bind_to_any_port(kAddress);
  else if (!server_.bind_to_port(kAddress, port))
    throw UserError("port " + std::to_string(port) +
                    " cannot be opened; is it in use? Give another with --port; 0 picks a free one");
  if (port <= 0) throw UserError("no port can be opened on " + std::string(kAddress));
  // Clients that connect at once wait here for their turn; the library has room for five.
  ::listen(socket_, SOMAXCONN);
  answering_ = std::thread([this] { server_.listen_after_bind(); });
  // The library does not stop a server that has not started.
  while (!server_.is_running()) std::this_thread::yield();
  return port;
}

void WebServer::answer(const httplib::Request& request, httplib::Response& response) const {
  constexpr std::string_view kMedia = "/media/", kPage = "/page/", kData = "/data/";
  const std::string& path = request.path;
  if (!namesLoopback(request.get_header_value("Host")))
    return refuse(response, 403, "this server answers to localhost only");
  if (request.method != "GET" && request.method != "HEAD") {
    response.set_header("Allow", "GET, HEAD");
    return refuse(response, 405, "there is nothing here to change");
  }
  if (path == "/" || path == "/index.html") return answerFile(page_, "index.html", request, response);
  if (path == "/recordings.json")
    return response.set_content(recordingsJson(listRecordings(media_.path())), "application/json");
  if (path == "/files.json") return answerList(request, response);
  if (path.starts_with(kMedia)) return answerFile(media_, path.substr(kMedia.size()), request, response);
  if (path.starts_with(kData)) return answerData(path.substr(kData.size()), request, response);
  if (path.starts_with(kPage)) return answerFile(page_, path.substr(kPage.size()), request, response);
  refuse(response, 404, "there is no such file");
}

void WebServer::answerList(const httplib::Request& request, httplib::Response& response) const {
  const auto list = files_.list(request.get_param_value("folder"));
  if (!list) return refuse(response, 404, "there is no such folder");
  response.set_content(folderListJson(*list), "application/json");
}

void WebServer::answerFile(const ServedFolder& folder, const std::string& name,
                           const httplib::Request& request, httplib::Response& response) const {
  const auto file = folder.find(name);
  if (!file) return refuse(response, 404, "there is no such file");
  // The library cuts the content by the request's ranges, but does not check them against its size.
  httplib::Ranges& ranges = const_cast<httplib::Request&>(request).ranges;
  if (request.method == "HEAD") ranges.clear();
  const bool ranged = !ranges.empty();
  ranges = satisfiableRanges(ranges, file->size);
  if (ranged && ranges.empty()) {
    response.set_header("Content-Range", "bytes */" + std::to_string(file->size));
    return refuse(response, 416, "the file has " + std::to_string(file->size) + " bytes");
  }
  // Several ranges are answered with the whole file, as RFC 9110, 14.2 allows: no player requests them, and
  // the library states a wrong size for each.
  if (ranges.size() > 1) ranges.clear();
  response.set_header("Accept-Ranges", "bytes");
  if (file->size == 0) return response.set_content("", contentTypeOf(file->path));
  response.set_content_provider(static_cast<std::size_t>(file->size), contentTypeOf(file->path),
                                contentOf(*file));
}

void WebServer::answerData(const std::string& subjectAndName, const httplib::Request& request,
                           httplib::Response& response) const {
  const std::size_t slash = subjectAndName.find('/');
  const std::string name = slash == std::string::npos ? "" : subjectAndName.substr(slash + 1);
  const auto file = media_.find(name);
  if (!file) return refuse(response, 404, "there is no such file");
  try {
    const DataAnswer answer =
        answerData_({subjectAndName.substr(0, slash), file->path, name, request.params, media_.path()});
    response.status = answer.status;
    response.set_content(answer.body, answer.type);
  } catch (const std::exception& error) {
    refuse(response, 500, error.what());
  }
}

}  // namespace fmp4
