#include <toolbox/MacTypes.h>
