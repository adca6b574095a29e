#include <toolbox/Processes.h>

#include "resources/Chain.h"

#include <cstdlib>

void ExitToShell() {
    toolbox::resources::CloseAllFiles();
    std::exit(0);
}
