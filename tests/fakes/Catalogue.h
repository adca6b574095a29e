// One item in the catalogue, as the test says.
#pragma once

#include <toolbox/CatalogInfo.h>

namespace fakes {

// The item's permissions, and what setting them stores.
void SetPermissions(const FSPermissionInfo& inPermissions);
const FSPermissionInfo& Permissions();

// What the calls answer instead of noErr.
void RefuseSpecs(OSErr inError);
void RefuseCatalogInfo(OSErr inError);
void RefuseSettingCatalogInfo(OSErr inError);

void ForgetCatalogue();

}  // namespace fakes
