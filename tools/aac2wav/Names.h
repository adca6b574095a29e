// Names of files, as far as their texts tell: nothing here looks at the disk.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace tool {

// Up to and with the last slash; empty where there is none.
std::string FolderOf(const std::string& inPath);
// With a slash at the end.
std::string AsFolder(const std::string& inPath);

// In small letters, without the dot; empty when the name has none. What follows the last dot counts as one
// when it is one to five letters and digits and something stands before the dot.
std::string ExtensionOf(const std::string& inPath);

// The name of the file made of an input: in inFolder (empty, or ending in a slash), its extension replaced by
// inExtension (".wav").
std::string DerivedName(const std::string& inInput, const std::string& inFolder,
                        const std::string& inExtension);

// Extensions of files that can hold sound for us, as ExtensionOf gives them: those of docs/formats.md.
std::span<const std::string_view> SoundExtensions();
bool IsSoundExtension(const std::string& inExtension);
bool IsWAVExtension(const std::string& inExtension);

// For messages: "standard input" for "-".
std::string InputName(const std::string& inInput);

}  // namespace tool
