#include "Filter.h"

#include "Backends.h"
#include "BundleFiles.h"
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
                                                             error:nullptr] propertyListFromStringsFileFormat]
                             : nil;
  NSArray *all = [table allKeys];
  for (NSUInteger i = 0; i < [all count]; ++i) {
    id key = [all objectAtIndex:i];
    keys[toStdString([table objectForKey:key])] = toStdString(key);
  }
  return keys;
}

NSBundle *loadBundle(const FilterInfo &info) {
  const auto refuse = [&](const std::string &why) {
    throw HostError("the bundle '" + info.bundlePath + "' can't be loaded" + why + "; build or install it again");
  };
  // Looked at first: NSBundle would write a line of its own about a binary that is missing or none, and one that is cut
  // short would end the process.
  if (info.executable.empty()) refuse(": its property list names no binary");
  if (!isWholeProgramLibrary(info.bundlePath + "/" + info.executable)) refuse(": its binary is missing or damaged");
  return guarded("the bundle '" + info.bundlePath + "'", [&] {
    NSBundle *bundle = [NSBundle bundleWithPath:toNSString(info.bundlePath)];
    if (!bundle || ![bundle load]) refuse("");
    return bundle;
  });
}

std::string nameOf(const FilterInfo &info) { return "the filter '" + info.displayName + "'"; }

}  // namespace

Declared Filter::Objects::makeFilter(Class filterClass, const std::string &name) {
  Declared declared;
  NSObject<FxFilter> *fresh = nil;
  const auto declare = [&] {
    id<PyreluxFilterCreation> allocated = [filterClass alloc];
    fresh = static_cast<id>([allocated initWithAPIManager:apiManager]);
    NSDictionary *properties = [fresh properties];
    NSArray *keys = [properties allKeys];
    for (NSUInteger i = 0; i < [keys count]; ++i) {
      id key = [keys objectAtIndex:i];
      declared.properties[toStdString(key)] = [[properties objectForKey:key] boolValue];
    }
    if (![fresh addParameters] || declared.parameters.empty()) throw HostError(name + " declares no parameters");
  };
  [apiManager setCreation:[[[PyreluxParameterCreation alloc] initWithDeclarations:&declared.parameters] autorelease]];
  try {
    guarded(name, declare);
  } catch (...) {
    [apiManager setCreation:nil];
    [fresh release];
    throw;
  }
  // Its target is gone with this function.
  [apiManager setCreation:nil];
  [filter release];
  filter = fresh;
  return declared;
}

Filter::Filter(const FilterInfo &info) : info_(info), objects_(std::make_unique<Objects>()) {
  const std::lock_guard<std::mutex> lock(platform::filterMutex());
  const AutoreleasePool pool;
  NSBundle *bundle = loadBundle(info);
  Class filterClass = [bundle classNamed:toNSString(info.className)];
  if (!filterClass) throw HostError("the bundle '" + info.bundlePath + "' has no class '" + info.className + "'");
  if (![filterClass instancesRespondToSelector:@selector(initWithAPIManager:)] ||
      ![filterClass instancesRespondToSelector:@selector(renderOutput:withInput:withInfo:)])
    throw HostError("the class '" + info.className + "' in '" + info.bundlePath + "' is no filter");

  objects_->apiManager = [[PyreluxAPIManager alloc] init];
  objects_->retrieval = [[PyreluxParameterRetrieval alloc] init];
  [objects_->apiManager setRetrieval:objects_->retrieval];
  Declared declared = objects_->makeFilter(filterClass, nameOf(info));

  const auto keys = keysByLabel(bundle);
  for (ParameterDeclaration &declaration : declared.parameters)
    if (const auto key = keys.find(declaration.label); key != keys.end()) declaration.key = key->second;
  properties_ = std::move(declared.properties);
  for (const ParameterDeclaration &declaration : declared.parameters) declared_.insert(declaration.id);
  parameters_ = std::make_unique<ParameterSet>(std::move(declared.parameters));
  [objects_->retrieval setParameters:parameters_.get()];
}

Filter::~Filter() {
  const std::lock_guard<std::mutex> lock(platform::filterMutex());
  const AutoreleasePool pool;
  objects_.reset();
}

void Filter::edit(const ParameterDeclaration &parameter, const ParameterValue &value) {
  editKeyframes(parameter, constant(value));
}

void Filter::editKeyframes(const ParameterDeclaration &parameter, const std::vector<Keyframe> &keyframes) {
  change(parameter, [&] { parameters_->setKeyframes(parameter, keyframes); });
}

template <typename Change>
void Filter::change(const ParameterDeclaration &parameter, Change change) {
  const std::lock_guard<std::mutex> lock(platform::filterMutex());
  const AutoreleasePool pool;
  const std::uint64_t before = parameters_->revision();
  change();
  if (parameters_->revision() == before || !declared_.count(parameter.id)) return;
  guarded(nameOf(info_), [&] { [objects_->filter parameterChanged:parameter.id]; });
}

void Filter::edit(const ParameterSet &parameters) {
  for (const ParameterDeclaration &parameter : parameters_->declarations()) {
    if (const Curve *curve = parameters.curve(parameter))
      change(parameter, [&] { parameters_->setCurve(parameter, *curve); });
    else if (parameter.kind != ParameterKind::Custom)
      editKeyframes(parameter, parameters.keyframes(parameter));
  }
}

void Filter::restart() {
  const std::lock_guard<std::mutex> lock(platform::filterMutex());
  const AutoreleasePool pool;
  // What it declares is what the first one declared.
  objects_->makeFilter([objects_->filter class], nameOf(info_));
}

}  // namespace pyrelux::host
