// A stream that only records what it is asked, and answers as the test wants.
#ifndef PIXTOLA_TESTS_SUPPORT_SCRIPTED_STREAM_H_
#define PIXTOLA_TESTS_SUPPORT_SCRIPTED_STREAM_H_

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "Pixtola.h"

// Some systems' interfaces have a public destructor that is not virtual. Streams are ended by
// Release.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace pixtola::test {

/// An object that belongs to the test; its references are counted but do not keep it alive.
class ScriptedStream final : public IStream {
 public:
  /// A call as text: the operation and its arguments.
  template <typename... Arguments>
  static std::string Call(const char* operation, const Arguments&... arguments) {
    std::ostringstream text;
    text << operation;
    ((text << ' ' << arguments), ...);
    return text.str();
  }

  std::vector<std::string> calls;  ///< in order, without AddRef and Release
  HRESULT result = S_OK;           ///< of all operations ...
  HRESULT seek_result = S_OK;      ///< ... but this one
  std::uint64_t position = 0;      ///< what every Seek reports
  ULONG references = 1;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    *object = this;
    return Record("QueryInterface", &iid, object);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override { return --references; }
  HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG size, ULONG* read) override {
    return Record("Read", buffer, size, read);
  }
  HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG size, ULONG* written) override {
    return Record("Write", buffer, size, written);
  }
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin,
                                 ULARGE_INTEGER* new_position) override {
    // Where the position is wanted is the caller's business.
    Record("Seek", move.QuadPart, origin);
    if (new_position != nullptr) new_position->QuadPart = position;
    return seek_result;
  }
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override {
    return Record("SetSize", size.QuadPart);
  }
  HRESULT STDMETHODCALLTYPE CopyTo(IStream* stream, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                                   ULARGE_INTEGER* written) override {
    return Record("CopyTo", stream, size.QuadPart, read, written);
  }
  HRESULT STDMETHODCALLTYPE Commit(DWORD flags) override { return Record("Commit", flags); }
  HRESULT STDMETHODCALLTYPE Revert() override { return Record("Revert"); }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size,
                                       DWORD type) override {
    return Record("LockRegion", offset.QuadPart, size.QuadPart, type);
  }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size,
                                         DWORD type) override {
    return Record("UnlockRegion", offset.QuadPart, size.QuadPart, type);
  }
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD flags) override {
    return Record("Stat", stat, flags);
  }
  HRESULT STDMETHODCALLTYPE Clone(IStream** stream) override { return Record("Clone", stream); }

 private:
  template <typename... Arguments>
  HRESULT Record(const char* operation, const Arguments&... arguments) {
    calls.push_back(Call(operation, arguments...));
    return result;
  }
};

}  // namespace pixtola::test

#pragma GCC diagnostic pop

#endif  // PIXTOLA_TESTS_SUPPORT_SCRIPTED_STREAM_H_
