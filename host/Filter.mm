#include "Filter.h"

#include <fstream>
#include <vector>

#include "Backends.h"
#include "FilterObjects.h"
#include "ForeignCalls.h"
#include "Foundation.h"

/// How a filter is created; the class itself is known by name alone.
@protocol PyreluxFilterCreation
- (id)initWithAPIManager:(id<PROAPIAccessing>)apiManager;
@end

namespace pyrelux::host {

namespace {

/// Every string table key by its translation.
std::map<std::string, std::string> keysByLabel(NSBundle *bundle) {
  std::map<std::string, std::string> keys;
  NSString *path = [bundle pathForResource:@"Localizable" ofType:@"strings"];
  NSDictionary *table = path ? [[NSString stringWithContentsOfFile:path encoding:NSUTF8StringEncoding
                                                             error:NULL] propertyListFromStringsFileFormat]
                             : nil;
  NSArray *all = [table allKeys];
  for (NSUInteger i = 0; i < [all count]; ++i) {
    id key = [all objectAtIndex:i];
    keys[toStdString([table objectForKey:key])] = toStdString(key);
  }
  return keys;
}

/// Whether the file begins as the system's program libraries do.
bool isProgramLibrary(const std::string &path) {
  char magic[4] = {};
  std::ifstream(path, std::ios::binary).read(magic, sizeof magic);
  return std::string(magic, sizeof magic) == "\177ELF";
}

NSBundle *loadBundle(const FilterInfo &info) {
  const auto refuse = [&](const std::string &why) {
    throw HostError("the bundle '" + info.bundlePath + "' can't be loaded" + why + "; build or install it again");
  };
  // Looked at first: NSBundle would write a line of its own about a binary that is missing or none.
  if (info.executable.empty()) refuse(": its property list names no binary");
  if (!isProgramLibrary(info.bundlePath + "/" + info.executable)) refuse(": its binary is missing or damaged");
  return guarded("the bundle '" + info.bundlePath + "'", [&] {
    NSBundle *bundle = [NSBundle bundleWithPath:toNSString(info.bundlePath)];
    if (!bundle || ![bundle load]) refuse("");
    return bundle;
  });
}

}  // namespace

Filter::Filter(const FilterInfo &info) : info_(info), objects_(std::make_unique<Objects>()) {
  const std::lock_guard<std::mutex> turn(platform::filterTurn());
  const AutoreleasePool pool;
  NSBundle *bundle = loadBundle(info);
  Class filterClass = [bundle classNamed:toNSString(info.className)];
  if (!filterClass) throw HostError("the bundle '" + info.bundlePath + "' has no class '" + info.className + "'");
  if (![filterClass instancesRespondToSelector:@selector(initWithAPIManager:)] ||
      ![filterClass instancesRespondToSelector:@selector(renderOutput:withInput:withInfo:)])
    throw HostError("the class '" + info.className + "' in '" + info.bundlePath + "' is no filter");

  std::vector<ParameterDeclaration> declarations;
  objects_->apiManager = [[PyreluxAPIManager alloc] init];
  objects_->retrieval = [[PyreluxParameterRetrieval alloc] init];
  PyreluxParameterCreation *creation =
      [[[PyreluxParameterCreation alloc] initWithDeclarations:&declarations] autorelease];
  [objects_->apiManager setRetrieval:objects_->retrieval];
  [objects_->apiManager setCreation:creation];

  const std::string name = "the filter '" + info.displayName + "'";
  const bool declared = guarded(name, [&] {
    id<PyreluxFilterCreation> allocated = [filterClass alloc];
    objects_->filter = [allocated initWithAPIManager:objects_->apiManager];
    NSDictionary *properties = [objects_->filter properties];
    NSArray *keys = [properties allKeys];
    for (NSUInteger i = 0; i < [keys count]; ++i) {
      id key = [keys objectAtIndex:i];
      properties_[toStdString(key)] = [[properties objectForKey:key] boolValue];
    }
    return [objects_->filter addParameters] == YES;
  });
  // Its target is gone with this function.
  [objects_->apiManager setCreation:nil];
  if (!declared || declarations.empty()) throw HostError(name + " declares no parameters");

  const auto keys = keysByLabel(bundle);
  for (ParameterDeclaration &declaration : declarations)
    if (const auto key = keys.find(declaration.label); key != keys.end()) declaration.key = key->second;
  parameters_ = std::make_unique<ParameterSet>(std::move(declarations));
  [objects_->retrieval setParameters:parameters_.get()];
}

Filter::~Filter() {
  const std::lock_guard<std::mutex> turn(platform::filterTurn());
  const AutoreleasePool pool;
  objects_.reset();
}

void Filter::restart() {
  const std::lock_guard<std::mutex> turn(platform::filterTurn());
  const AutoreleasePool pool;
  guarded("the filter '" + info_.displayName + "'", [&] {
    id<PyreluxFilterCreation> allocated = [[objects_->filter class] alloc];
    NSObject<FxFilter> *fresh = [allocated initWithAPIManager:objects_->apiManager];
    [objects_->filter release];
    objects_->filter = fresh;
  });
}

}  // namespace pyrelux::host
