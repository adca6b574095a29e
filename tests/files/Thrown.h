// What a call throws.
#pragma once

#include <foundation/LException.h>
#include <toolbox/MacErrors.h>

#include <new>

namespace test_files {

// The code of an exception, memFullErr where memory is short; 0 when nothing is thrown.
template <class Function>
long Thrown(const Function& inFunction) {
    try {
        inFunction();
        return 0;
    } catch (const LException& exception) {
        return exception.GetErrorCode();
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

}  // namespace test_files
