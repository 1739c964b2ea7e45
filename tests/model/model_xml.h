// The XML bodies of PROPFIND, PROPPATCH and LOCK requests, read with the library's own XML
// reader into the emulator's structures (emulator/core/dav_bodies.h). The emulator reads them
// with an XML parser that the 32-bit and Windows builds do not have.
//
// The reader keeps no attributes, so namespace declarations are read from the body's text
// apart, as one flat table (the first declaration of a prefix wins). Our client declares each
// prefix once; a body that binds one prefix to two namespaces is read with the first.
#pragma once

#include <string_view>
#include <vector>

#include "model_text.h"

namespace qbrk::model {

// An empty body asks for all properties. A refusal (400) when it is not a propfind.
Refusal ReadPropfind(std::string_view body, PropfindRequest* out);

// The set and remove instructions in document order (without their values' XML: the model
// keeps no dead properties).
Refusal ReadPropPatch(std::string_view body, std::vector<PropPatchOperation>* out);

// The owner's text is kept, escaped; elements inside it are not.
Refusal ReadLockInfo(std::string_view body, LockRequest* out);

}  // namespace qbrk::model
