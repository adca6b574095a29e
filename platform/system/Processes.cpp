#include "resources/Chain.h"

#include <toolbox/Processes.h>

#include <cstdlib>

void ExitToShell() {
    toolbox::resources::CloseAllFiles();
    std::exit(0);
}
