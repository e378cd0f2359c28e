// Objects and their opaque handles. A handle is a number that is given out once: one that was
// closed, or never was one, is recognised and refused.
#ifndef PIXTOLA_PORTABLE_HANDLE_TABLE_H_
#define PIXTOLA_PORTABLE_HANDLE_TABLE_H_

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

namespace pixtola::portable {

/// No two tables give out the same number.
inline std::atomic<std::uintptr_t> last_handle_number = 0;

/// `Handle` is a pointer type. May be used by any number of threads; an object that one of them
/// uses must not be closed by another, as with the platform's own.
template <typename Object, typename Handle>
class HandleTable {
 public:
  /// The one table of its kind. Never destroyed: the destructor of any static object may close a
  /// handle.
  static HandleTable& Instance() noexcept {
    alignas(HandleTable) static unsigned char storage[sizeof(HandleTable)];
    static HandleTable* const table = ::new (storage) HandleTable;
    return *table;
  }

  /// Null when `object` is null or when out of memory.
  Handle Open(std::unique_ptr<Object> object) try {
    if (object == nullptr) return nullptr;
    const std::uintptr_t number = last_handle_number += 4;  // as Windows, whose handles are even
    const std::lock_guard lock(mutex_);
    objects_.emplace(number, std::move(object));
    return reinterpret_cast<Handle>(number);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }

  /// Null for what is not an open handle.
  Object* Find(const void* handle) {
    const std::lock_guard lock(mutex_);
    const auto found = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
    return found != objects_.end() ? found->second.get() : nullptr;
  }

  /// False for what is not an open handle.
  bool Close(const void* handle) {
    const std::lock_guard lock(mutex_);
    return objects_.erase(reinterpret_cast<std::uintptr_t>(handle)) > 0;
  }

 private:
  HandleTable() = default;

  std::mutex mutex_;
  std::unordered_map<std::uintptr_t, std::unique_ptr<Object>> objects_;
};

}  // namespace pixtola::portable

#endif  // PIXTOLA_PORTABLE_HANDLE_TABLE_H_
