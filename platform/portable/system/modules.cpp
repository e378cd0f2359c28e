// Modules and their resources: tables that programs and libraries register when they are loaded.

#include <algorithm>
#include <cwchar>
#include <mutex>
#include <string_view>

#include "pixtola/portable/kernel.h"
#include "pixtola/portable/resources.h"
#include "pixtola/portable/runtime.h"

namespace pixtola::portable {

namespace {

// Both are initialised before any table: tables register while programs and libraries are loaded.
constinit std::mutex tables_mutex;
constinit ResourceModule* first_table = nullptr;

/// The program's handle is no table's, since a program may have any number of them.
HMODULE Program() { return reinterpret_cast<HMODULE>(&first_table); }

HMODULE HandleOf(const ResourceModule& table) {
  return table.name() == nullptr ? Program()
                                 : reinterpret_cast<HMODULE>(const_cast<ResourceModule*>(&table));
}

constexpr ULONG_PTR kNoId = ~ULONG_PTR{0};

/// The integer id that a name or type is or, as "#12", writes out; kNoId for words.
ULONG_PTR IdOf(const wchar_t* name) {
  if (IS_INTRESOURCE(name)) return reinterpret_cast<ULONG_PTR>(name);
  if (name[0] != L'#' || name[1] == L'\0') return kNoId;
  ULONG_PTR id = 0;
  for (const wchar_t* digit = name + 1; *digit != L'\0'; ++digit) {
    if (*digit < L'0' || *digit > L'9') return kNoId;
    id = id * 10 + static_cast<ULONG_PTR>(*digit - L'0');
    if (id > 0xFFFF) return kNoId;
  }
  return id;
}

bool Matches(const ResourceKey& key, const wchar_t* name) {
  const ULONG_PTR id = IdOf(name);
  if (key.text == nullptr) return id == key.id;
  return id == kNoId && _wcsicmp(key.text, name) == 0;
}

/// Whether a module asked for as `asked` is the one of that name.
bool IsNameOfModule(std::wstring_view asked, std::wstring_view name) {
  constexpr std::wstring_view kExtension = L".dll";
  const auto equals = [](std::wstring_view a, std::wstring_view b) {
    return a.size() == b.size() && _wcsnicmp(a.data(), b.data(), a.size()) == 0;
  };
  if (equals(asked, name)) return true;
  return asked.size() == name.size() + kExtension.size() &&
         equals(asked.substr(0, name.size()), name) &&
         equals(asked.substr(name.size()), kExtension);
}

}  // namespace

ResourceModule::ResourceModule(const wchar_t* name, const Resource* resources, std::size_t count)
    : name_(name), resources_(resources), count_(count) {
  const std::lock_guard lock(tables_mutex);
  next_ = first_table;
  first_table = this;
}

ResourceModule::~ResourceModule() {
  const std::lock_guard lock(tables_mutex);
  ResourceModule** link = &first_table;
  while (*link != this) link = &(*link)->next_;
  *link = next_;
}

const Resource* ResourceModule::Find(const wchar_t* name, const wchar_t* type) const {
  const Resource* end = resources_ + count_;
  const Resource* found = std::find_if(resources_, end, [&](const Resource& resource) {
    return Matches(resource.type, type) && Matches(resource.name, name);
  });
  return found != end ? found : nullptr;
}

}  // namespace pixtola::portable

using pixtola::portable::Resource;
using pixtola::portable::ResourceModule;

extern "C" {

HMODULE WINAPI GetModuleHandleW(LPCWSTR name) {
  if (name == nullptr) return pixtola::portable::Program();
  const std::lock_guard lock(pixtola::portable::tables_mutex);
  for (const ResourceModule* table = pixtola::portable::first_table; table != nullptr;
       table = table->next()) {
    if (table->name() != nullptr && pixtola::portable::IsNameOfModule(name, table->name())) {
      return pixtola::portable::HandleOf(*table);
    }
  }
  return nullptr;
}

HRSRC WINAPI FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type) {
  if (name == nullptr || type == nullptr) return nullptr;
  if (module == nullptr) module = pixtola::portable::Program();
  const std::lock_guard lock(pixtola::portable::tables_mutex);
  for (const ResourceModule* table = pixtola::portable::first_table; table != nullptr;
       table = table->next()) {
    if (pixtola::portable::HandleOf(*table) != module) continue;
    const Resource* resource = table->Find(name, type);
    if (resource != nullptr) {
      return reinterpret_cast<HRSRC>(const_cast<Resource*>(resource));
    }
  }
  return nullptr;
}

DWORD WINAPI SizeofResource(HMODULE /*module*/, HRSRC resource) {
  return resource != nullptr ? reinterpret_cast<const Resource*>(resource)->size : 0;
}

HGLOBAL WINAPI LoadResource(HMODULE /*module*/, HRSRC resource) {
  if (resource == nullptr) return nullptr;
  return const_cast<unsigned char*>(reinterpret_cast<const Resource*>(resource)->bytes);
}

LPVOID WINAPI LockResource(HGLOBAL resource) { return resource; }

}  // extern "C"
