#include "Bundles.h"

#include <OpenGL/OpenGL.h>
#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "Backends.h"
#include "BundleFiles.h"
#include "Foundation.h"
#include "HostError.h"
#include "Joined.h"

namespace pyrelux::host {

namespace fs = std::filesystem;

namespace {

std::vector<std::string> split(const std::string &text, char separator) {
  std::vector<std::string> parts;
  std::size_t begin = 0;
  while (begin <= text.size()) {
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    if (end > begin) parts.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

/// The bundles directly in a folder, by name.
std::vector<fs::path> bundlesIn(const std::string &folder) {
  std::vector<fs::path> bundles;
  std::error_code error;
  for (const fs::directory_entry &entry : fs::directory_iterator(folder, error))
    if (entry.path().extension() == ".bundle" && entry.is_directory(error))
      bundles.push_back(fs::absolute(entry.path(), error));
  std::sort(bundles.begin(), bundles.end());
  return bundles;
}

NSArray *arrayOf(NSDictionary *dictionary, NSString *key) {
  id value = [dictionary objectForKey:key];
  return [value isKindOfClass:[NSArray class]] ? value : [NSArray array];
}

std::string groupName(NSDictionary *list, const std::string &uuid) {
  NSArray *groups = arrayOf(list, @"ProPlugPlugInGroupList");
  for (NSUInteger i = 0; i < [groups count]; ++i) {
    NSDictionary *group = [groups objectAtIndex:i];
    if ([group isKindOfClass:[NSDictionary class]] && toStdString([group objectForKey:@"uuid"]) == uuid)
      return toStdString([group objectForKey:@"groupName"]);
  }
  return {};
}

/// The bundle's property list, or nil; unlike NSDictionary's own way of reading a file, it logs nothing about a broken
/// one.
NSDictionary *propertyList(const fs::path &bundle) {
  NSData *data = [NSData dataWithContentsOfFile:toNSString((bundle / "Resources" / "Info-gnustep.plist").string())];
  if (!data || !isShallowPropertyList({static_cast<const char *>([data bytes]), [data length]})) return nil;
  try {
    id list = [NSPropertyListSerialization propertyListWithData:data
                                                        options:NSPropertyListImmutable
                                                         format:nullptr
                                                          error:nullptr];
    return [list isKindOfClass:[NSDictionary class]] ? list : nil;
  } catch (...) {
    return nil;
  }
}

void appendFilters(const fs::path &bundle, std::vector<FilterInfo> &filters) {
  NSDictionary *list = propertyList(bundle);
  NSArray *plugIns = arrayOf(list, @"ProPlugPlugInList");
  for (NSUInteger i = 0; i < [plugIns count]; ++i) {
    NSDictionary *plugIn = [plugIns objectAtIndex:i];
    if (![plugIn isKindOfClass:[NSDictionary class]]) continue;
    if (![arrayOf(plugIn, @"protocolNames") containsObject:@"FxFilter"]) continue;
    FilterInfo info;
    info.bundlePath = bundle.string();
    info.executable = toStdString([list objectForKey:@"NSExecutable"]);
    info.className = toStdString([plugIn objectForKey:@"className"]);
    info.displayName = toStdString([plugIn objectForKey:@"displayName"]);
    info.groupName = groupName(list, toStdString([plugIn objectForKey:@"group"]));
    info.infoString = toStdString([plugIn objectForKey:@"infoString"]);
    info.uuid = toStdString([plugIn objectForKey:@"uuid"]);
    info.version = toStdString([plugIn objectForKey:@"version"]);
    if (!info.className.empty()) filters.push_back(info);
  }
}

}  // namespace

std::vector<std::string> defaultSearchPath() {
  if (const char *path = std::getenv("PYRELUX_PLUGIN_PATH")) return split(path, ':');
  std::vector<std::string> folders;
  std::error_code error;
  // Whoever loads it, the platform library is where it was installed, and the bundles beside it.
  Dl_info library = {};
  if (dladdr(reinterpret_cast<const void *>(&CGLGetCurrentContext), &library))
    folders.push_back(fs::weakly_canonical(library.dli_fname, error).parent_path().string());
  if (const char *home = std::getenv("HOME")) folders.push_back((fs::path(home) / ".local/lib/pyrelux").string());
  folders.push_back("/usr/local/lib/pyrelux");
  folders.push_back("/usr/lib/pyrelux");
  return folders;
}

std::vector<FilterInfo> findFilters(const std::vector<std::string> &searchPath) {
  const std::lock_guard<std::mutex> lock(platform::filterMutex());
  const AutoreleasePool pool;
  std::vector<FilterInfo> filters;
  for (const std::string &folder : searchPath)
    for (const fs::path &bundle : bundlesIn(folder)) appendFilters(bundle, filters);
  return filters;
}

FilterInfo findFilter(const std::vector<std::string> &searchPath) {
  const std::vector<FilterInfo> filters = findFilters(searchPath);
  if (!filters.empty()) return filters.front();
  throw HostError("no filter bundle in " + (searchPath.empty() ? "an empty PYRELUX_PLUGIN_PATH" : joined(searchPath)) +
                  "; name the folder that holds Pyrelux.bundle in PYRELUX_PLUGIN_PATH");
}

}  // namespace pyrelux::host
