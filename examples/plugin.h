// Loads the plug-in and creates its objects, as a host does: shared by the three examples.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

#include "mediafile.h"
#include "vlutil.h"

class Plugin {
 public:
  // Closes and destroys an object through the plug-in that created it.
  struct Closer {
    const Plugin* plugin;
    void operator()(CAMediaFile* object) const {
      MFXCLOSE request = {};
      plugin->mediaFile_(object, MFX_CLOSE, &request);
    }
  };
  using File = std::unique_ptr<CAMediaFile, Closer>;

  // A name without a folder is searched for beside the program and beside the host library.
  explicit Plugin(const char* name = "vlx_fmp4") {
    constexpr std::uint32_t kBesideHostFirst = 2, kVersionQuery = 0xFFFFFFFFu, kInterfaceVersion = 23;
    void* const library = vlOSLoadLibrary(name, kBesideHostFirst);
    if (!library) throw std::runtime_error("the plug-in cannot be loaded");
    check_ = reinterpret_cast<Check>(vlOSGetProcAddress(library, "xCheckVersionAndFile"));
    mediaFile_ = reinterpret_cast<MediaFile>(vlOSGetProcAddress(library, "xMediaFile"));
    if (!check_ || !mediaFile_) throw std::runtime_error("the library is not a media-file plug-in");
    std::uint32_t formats = 0;
    if (static_cast<std::uint32_t>(check_(nullptr, kVersionQuery, &formats)) != kInterfaceVersion)
      throw std::runtime_error("the plug-in has another version of the interface");
  }

  bool accepts(const std::string& name) const { return check_(name.c_str(), 0, nullptr) == VL_OK; }
  File open(const std::string& name) const { return make(name, VL_GENERIC_READ, VL_OPEN_EXISTING); }
  File create(const std::string& name) const {
    return make(name, VL_GENERIC_READ | VL_GENERIC_WRITE, VL_CREATE_ALWAYS);
  }

 private:
  using Check = std::int64_t (*)(const char* name, std::uint32_t indexOrFlags, void* out);
  using MediaFile = std::int64_t (*)(CAMediaFile* object, std::uint32_t command, void* argument);

  File make(const std::string& name, std::uint32_t access, std::uint32_t creation) const {
    MFXOPEN request = {};
    request.fileType = 147;  // the code of the plug-in's format record
    request.access = access;
    request.fileName = name.c_str();
    request.share = VL_SHARE_READ_WRITE;
    request.creation = creation;
    File file(reinterpret_cast<CAMediaFile*>(mediaFile_(nullptr, MFX_OPEN, &request)), Closer{this});
    if (!file) throw std::runtime_error("'" + name + "' cannot be opened; the log says why");
    return file;
  }

  Check check_ = nullptr;
  MediaFile mediaFile_ = nullptr;
};
