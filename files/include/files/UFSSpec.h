// What is done with the items of specifications.
#pragma once

#include <files/TFSSpec.h>
#include <foundation/MirtalExport.h>
#include <toolbox/Files.h>

class MIRTAL_EXPORT UFSSpec {
  public:
    // Whether it is a folder that is shown as one item: by its Finder flag, by a name that ends in .nib,
    // .app, .bundle or .framework, or as a package (toolbox/LaunchServices.h). False when the item is not
    // there.
    static bool IsBundle(FSRef& inItem);
};
