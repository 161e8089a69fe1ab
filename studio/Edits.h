#pragma once

#include <vector>

#include "Document.h"
#include "Fields.h"
#include "Folders.h"

namespace pyrelux::studio {

/// `content` after the edits of a page's message "edit", all of them. A text takes an input's place, and the other way
/// round. `declarations`: the filter's and ours. Throws Refusal, which names the field, media::InputError for a preset
/// that can't be read.
Content edited(const Content &content, const Json &edits, const std::vector<host::ParameterDeclaration> &declarations,
               const Folders &folders);

/// The look of a preset in the place of the content's.
Content withLook(Content content, const project::Project &look);

/// Throws Refusal where the project names files that pages may not name.
void requireFiles(const project::Project &project, const Folders &folders);

}  // namespace pyrelux::studio
