// What the page asks of a media file beyond its bytes: "/data/SUBJECT/NAME?PARAMETERS". The web server finds
// the file; the program answers, through the plug-in.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>

namespace fmp4 {

struct DataRequest {
  std::string subject;         // "describe"
  std::filesystem::path file;  // a regular file of the served folder, absolute
  std::string name;            // the same relative to the folder, as the page writes it
  std::multimap<std::string, std::string> parameters;  // decoded, of any bytes
  std::filesystem::path folder;  // the served one, canonical: files outside are nobody's business
};

struct DataAnswer {
  int status = 200;  // of HTTP
  std::string type;  // media type of the body
  std::string body;
};

// Called on several threads at once. An exception is answered with status 500 and its text.
using AnswerData = std::function<DataAnswer(const DataRequest&)>;

}  // namespace fmp4
