
namespace fmp4 {

// A library to be loaded by name: it reports which one it is.
extern "C" __attribute__((visibility("default"))) int loadedLibraryNumber() {
  return LOADED_LIBRARY_NUMBER;
}

}  // namespace fmp4
