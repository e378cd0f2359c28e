// How embedded files get into a module. pixtola_embed_resources of PixtolaResources.cmake writes
// the source that uses this; nobody else needs to.
#ifndef PIXTOLA_PORTABLE_RESOURCES_H_
#define PIXTOLA_PORTABLE_RESOURCES_H_

#include "pixtola/portable/kernel.h"

namespace pixtola {
namespace portable {

/// The name or the type of a resource.
struct ResourceKey {
  const wchar_t* text;  ///< null for an integer id
  WORD id;
};

struct Resource {
  ResourceKey type;
  ResourceKey name;
  const unsigned char* bytes;
  DWORD size;
};

/// Makes a table of resources known for the life of this object, a variable at namespace scope of
/// the program or library that holds them. A program may have several tables.
class PIXTOLA_PLATFORM_API ResourceModule {
 public:
  /// `name` is the shared library's, null in a program. Nothing is copied.
  ResourceModule(const wchar_t* name, const Resource* resources, std::size_t count);
  ResourceModule(const ResourceModule&) = delete;
  ResourceModule& operator=(const ResourceModule&) = delete;
  ~ResourceModule();

  const wchar_t* name() const { return name_; }
  const ResourceModule* next() const { return next_; }
  const Resource* Find(const wchar_t* name, const wchar_t* type) const;

 private:
  const wchar_t* name_;
  const Resource* resources_;
  std::size_t count_;
  ResourceModule* next_;
};

}  // namespace portable
}  // namespace pixtola

#endif  // PIXTOLA_PORTABLE_RESOURCES_H_
