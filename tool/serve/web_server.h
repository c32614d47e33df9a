// The web server of `fmp4 serve`: files as stored, with byte ranges, on the loopback address only.
#pragma once

#include <httplib.h>

#include <filesystem>
#include <thread>

#include "tool/serve/folder_files.h"
#include "tool/serve/media_data.h"
#include "tool/serve/served_folder.h"

namespace fmp4 {

// What it answers to GET and HEAD:
//   /, /index.html    the page
//   /page/NAME        the files that the page is made of
//   /recordings.json  the recordings of the folder (folder_recordings.h)
//   /files.json?folder=SUB  what a folder holds (folder_files.h)
//   /media/NAME       a file of the folder
//   /data/SUBJECT/NAME?PARAMETERS  what the program says of a file of the folder (media_data.h)
// Clients must not cache anything: files grow while they are served.
class WebServer {
 public:
  // Throws UserError when a folder cannot be read.
  WebServer(const std::filesystem::path& media, const std::filesystem::path& page, AnswerData answerData);

  ~WebServer();

  // Listens on `port`, or on a free one for 0, and answers on threads of its own until it is destroyed.
  // Returns the port. Throws UserError when the port is not available.
  int start(int port);

 private:
  void answer(const httplib::Request& request, httplib::Response& response) const;
  void answerList(const httplib::Request& request, httplib::Response& response) const;
  void answerFile(const ServedFolder& folder, const std::string& name, const httplib::Request& request,
                  httplib::Response& response) const;
  void answerData(const std::string& subjectAndName, const httplib::Request& request,
                  httplib::Response& response) const;

  ServedFolder media_;
  ServedFolder page_;
  mutable FolderFiles files_{media_};
  AnswerData answerData_;
  httplib::Server server_;
  socket_t socket_ = INVALID_SOCKET;  // that the server listens on; owned by it
  std::thread answering_;
};

// The ranges of `asked` that a file of `size` bytes can satisfy, first and last byte, clamped to its end (RFC
// 9110, 14.1.2). As in the library, -1 is a first or last byte that is not stated.
httplib::Ranges satisfiableRanges(const httplib::Ranges& asked, std::uint64_t size);

}  // namespace fmp4
