#pragma once

#include <string>

#include "Document.h"
#include "Fields.h"
#include "Folders.h"
#include "Preview.h"
#include "RenderRequest.h"

// What a content and the messages of pages ask for, as the house's requests.

namespace pyrelux::studio {

/// A request for what the content burns, without an output. Fields that say nothing of it are left out: a size of an
/// input that has one, and what the colours of an input mean where there is none.
job::RenderRequest requestOf(const Content &content);

/// Whether there is anything to burn.
bool hasFire(const Content &content);

/// What a page's message "export" or "command" asks for of the content. Throws Refusal.
job::RenderRequest exportRequest(const Content &content, const Json &message, const Folders &folders);

/// The frame of a message "frame". Throws Refusal.
FrameRequest frameRequest(const Json &message, const Folders &folders);

}  // namespace pyrelux::studio
