// The user is not asked while this scope lasts, where the movie toolbox can be kept from it.
#pragma once

#include <foundation/MirtalExport.h>

class MIRTAL_EXPORT StDisableQTInteraction {
  public:
    StDisableQTInteraction();
    ~StDisableQTInteraction();
    StDisableQTInteraction(const StDisableQTInteraction&) = delete;
    StDisableQTInteraction& operator=(const StDisableQTInteraction&) = delete;

  private:
    long mToken;
};
