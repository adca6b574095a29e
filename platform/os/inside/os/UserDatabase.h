// Users and groups by number and by name. Functions answer 0 or an errno: ENOENT for one that the database
// does not know, or where there is none; else why it could not be asked. Safe on any thread. May throw
// std::bad_alloc.
#pragma once

#include <sys/types.h>

#include <string>

namespace toolbox::os {

[[nodiscard]] int GetUserName(uid_t inUser, std::string& outName);
[[nodiscard]] int GetGroupName(gid_t inGroup, std::string& outName);
[[nodiscard]] int FindUser(const std::string& inName, uid_t& outUser);
[[nodiscard]] int FindGroup(const std::string& inName, gid_t& outGroup);

}  // namespace toolbox::os
