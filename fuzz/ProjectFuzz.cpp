// Any text as a project: it is refused as one that is none, or what is written of it means the same.

#include "Project.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include "Require.h"
#include "SampleParameters.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  using namespace pyrelux;
  static const std::vector<host::ParameterDeclaration> declarations = host::test::sampleDeclarations();
  const std::string text(reinterpret_cast<const char *>(data), size);
  project::Project project;
  try {
    project = project::parseProject(text, declarations);
  } catch (const project::ProjectError &) {
    return 0;
  }
  const std::string written = project::formatProject(project, declarations);
  const project::Project again = project::parseProject(written, declarations);
  fuzz::require(project::formatProject(again, declarations) == written, "what is written is read as it was meant");
  fuzz::require(again.parameters.size() == project.parameters.size(), "no parameter is lost");
  return 0;
}
