// What a file is opened for.
#pragma once

// Permissions to ask for.
enum {
    fsCurPerm = 0,     // to read and write where that is allowed now, else to read
    fsRdPerm = 1,      // to read
    fsWrPerm = 2,      // to write, alone; also to read where the file may be read
    fsRdWrPerm = 3,    // to read and write, alone
    fsRdWrShPerm = 4,  // to read and write beside others that ask for this
};
