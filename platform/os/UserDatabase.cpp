#include "os/UserDatabase.h"

#include "DatabaseQuestion.h"
#include "os/SystemCalls.h"

#include <grp.h>
#include <pwd.h>

namespace toolbox::os {

int GetUserName(uid_t inUser, std::string& outName) {
    return AskDatabase<struct passwd>(
        [inUser](struct passwd& outEntry, char* outText, std::size_t inCapacity, struct passwd*& outFound) {
            return Calls().getpwuid_r(inUser, &outEntry, outText, inCapacity, &outFound);
        },
        [&outName](const struct passwd& inEntry) { outName = inEntry.pw_name; });
}

int GetGroupName(gid_t inGroup, std::string& outName) {
    return AskDatabase<struct group>(
        [inGroup](struct group& outEntry, char* outText, std::size_t inCapacity, struct group*& outFound) {
            return Calls().getgrgid_r(inGroup, &outEntry, outText, inCapacity, &outFound);
        },
        [&outName](const struct group& inEntry) { outName = inEntry.gr_name; });
}

int FindUser(const std::string& inName, uid_t& outUser) {
    return AskDatabase<struct passwd>(
        [&inName](struct passwd& outEntry, char* outText, std::size_t inCapacity, struct passwd*& outFound) {
            return Calls().getpwnam_r(inName.c_str(), &outEntry, outText, inCapacity, &outFound);
        },
        [&outUser](const struct passwd& inEntry) { outUser = inEntry.pw_uid; });
}

int FindGroup(const std::string& inName, gid_t& outGroup) {
    return AskDatabase<struct group>(
        [&inName](struct group& outEntry, char* outText, std::size_t inCapacity, struct group*& outFound) {
            return Calls().getgrnam_r(inName.c_str(), &outEntry, outText, inCapacity, &outFound);
        },
        [&outGroup](const struct group& inEntry) { outGroup = inEntry.gr_gid; });
}

}  // namespace toolbox::os
