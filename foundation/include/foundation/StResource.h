// A guard that owns a resource's handle, and gives it back when the scope ends.
//
// Failures are thrown as LException with the status of the Resource Manager, or -192 if it tells none. A
// guard belongs to one thread at a time.
#pragma once

#include <foundation/MirtalExport.h>

class MIRTAL_EXPORT StResource {
  public:
    explicit StResource(char** inHandle);  // may be null
    // As GetResource below.
    StResource(unsigned long inType, short inID, unsigned char inThrowFail, unsigned char inOneDeep);
    StResource(unsigned long inType, const unsigned char* inName, unsigned char inThrowFail,
               unsigned char inOneDeep);
    ~StResource();
    StResource(const StResource&) = delete;
    StResource& operator=(const StResource&) = delete;

    char** Get() const { return mHandle; }  // borrowed

    // Each disposes of what is held and looks for a resource: with inOneDeep in the current resource file
    // only. What is found is held and returned, borrowed. When there is none: with inThrowFail that is
    // thrown; without, null.
    char** GetResource(unsigned long inType, short inID, unsigned char inThrowFail, unsigned char inOneDeep);
    char** GetResource(unsigned long inType, const unsigned char* inName, unsigned char inThrowFail,
                       unsigned char inOneDeep);
    char** GetIndResource(unsigned long inType, short inIndex, unsigned char inThrowFail,
                          unsigned char inOneDeep);

    // A resource is given back with ReleaseResource; a handle that is none, any more, is freed with
    // DisposeHandle. The guard holds null then.
    void Dispose();
    // Takes the handle over. One held so far is disposed of, unless it is the same.
    void Adopt(char** inHandle);
    // Makes the handle a plain one, which the guard keeps and will free.
    void Detach();

  private:
    char** Hold(char** inHandle, unsigned char inThrowFail);

    char** mHandle;
};
