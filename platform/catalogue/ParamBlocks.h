// What the calls by parameter blocks have in common.
#pragma once

#include "FolderItems.h"

#include <toolbox/HParamBlocks.h>

#include <algorithm>
#include <iterator>
#include <new>

namespace toolbox::files {

// Calls OSStatus inCall(member) on a member of the block, and says in it what came of that. Null answers
// paramErr.
template <typename Block, typename Member, typename Call>
[[nodiscard]] OSErr AnswerBlock(Block* ioBlock, Member Block::*inMember, Call inCall) {
    if (ioBlock == nullptr) return paramErr;
    Member& block = ioBlock->*inMember;
    try {
        block.ioResult = static_cast<OSErr>(inCall(block));
    } catch (const std::bad_alloc&) {
        block.ioResult = memFullErr;
    }
    return block.ioResult;
}

// The item of a volume, folder and name, which may be null for the folder itself. May throw std::bad_alloc.
[[nodiscard]] inline OSStatus FindNamed(SInt16 inVolume, SInt32 inFolderID, ConstStr255Param inName,
                                        FoundItem& outItem) {
    FSSpec spec = {inVolume, inFolderID, {}};
    if (inName != nullptr) {
        if (inName[0] >= std::size(spec.name)) return bdNamErr;
        std::copy_n(inName, inName[0] + 1, spec.name);
    }
    return FindBySpec(spec, outItem);
}

}  // namespace toolbox::files
