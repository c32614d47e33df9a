
namespace fmp4 {

// A library that another one needs.
extern "C" __attribute__((visibility("default"))) int neededLibraryNumber() {
  return LOADED_LIBRARY_NUMBER;
}

}  // namespace fmp4
