
namespace fmp4 {

// A library that needs another one by name: it returns the number of the one that it is bound to.
extern "C" int neededLibraryNumber();

extern "C" __attribute__((visibility("default"))) int loadedLibraryNumber() {
  return neededLibraryNumber();
}

}  // namespace fmp4
