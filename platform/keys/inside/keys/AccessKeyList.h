// Access keys in the order in which they were registered, and the text of the file that keeps system-wide
// ones.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace toolbox::keys {

struct AccessKey {
    std::string type;  // at most 255 bytes
    std::string key;   // any bytes
};

class AccessKeyList {
  public:
    static constexpr std::size_t kMaxKeys = 5000;

    bool Contains(const AccessKey& inKey) const;
    void Add(AccessKey inKey) { mKeys.push_back(std::move(inKey)); }  // throws std::bad_alloc
    void Remove(const AccessKey& inKey);
    std::size_t Count() const { return mKeys.size(); }
    // The keys of a type; good until the list is changed. Throws std::bad_alloc.
    std::vector<std::string_view> KeysOf(std::string_view inType) const&;
    std::vector<std::string_view> KeysOf(std::string_view inType) const&& = delete;

    std::string Encode() const;  // throws std::bad_alloc
    // False, with the list unspecified, when inText is nothing that Encode gives, letter case of hexadecimal
    // digits aside, or has more than kMaxKeys. Throws std::bad_alloc.
    bool Decode(std::string_view inText);

  private:
    std::vector<AccessKey> mKeys;
};

// Equal but for the case of ASCII letters.
bool IsSameKeyText(std::string_view inOne, std::string_view inOther);

}  // namespace toolbox::keys
