#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"

namespace base {

/// The file in the home that holds the registry.
std::string RegistryFilePath();

/// A value's bytes as the registry holds them: texts in UTF-16LE with their NUL.
struct RegistryValue {
  DWORD type;
  std::vector<BYTE> data;

  static RegistryValue FromText(std::u16string_view text);  ///< REG_SZ
  static RegistryValue FromDword(DWORD number);             ///< REG_DWORD

  /// The text of a REG_SZ up to its first NUL, which may be missing; nothing for another type.
  std::optional<std::u16string> Text() const;
};

/// A registry in the format of `regedit` exports ("Windows Registry Editor Version 5.00"), in memory.
///
/// Keys are full paths ("HKEY_LOCAL_MACHINE\SYSTEM\..."); a key is there as soon as one below it is. Keys and
/// value names are compared without regard to case and keep the case they were first given. The unnamed value
/// of a key has the empty name.
class RegistryFile {
 public:
  /// Reads UTF-8, with or without a byte-order mark, or UTF-16LE with one; CR LF or LF. A later line
  /// overrules an earlier one; "[-key]" and "name"=- remove. A line that is malformed is skipped, and so are
  /// the values behind a malformed key.
  static RegistryFile Parse(std::string_view bytes);

  /// Reads a file by its POSIX path. A missing file is an empty registry. Returns 0 or a Win32 code.
  static DWORD Load(const std::string& posix_path, RegistryFile* registry);

  /// The number, from 1, of the first line that was skipped because it is malformed; 0 when none was.
  size_t FirstMalformedLine() const { return first_malformed_line_; }

  bool HasKey(std::u16string_view key) const;

  /// Null when there is no such value. Valid until the registry changes.
  const RegistryValue* FindValue(std::u16string_view key, std::u16string_view name) const;

  /// The names of the keys directly below `key`, sorted without regard to case.
  std::vector<std::u16string> Subkeys(std::u16string_view key) const;

  /// These return false, and change nothing, when the key is malformed (empty, or with an empty part) or a
  /// name cannot be written into a file because it holds control characters or half a surrogate pair.
  bool AddKey(std::u16string_view key);
  bool SetValue(std::u16string_view key, std::u16string_view name, RegistryValue value);

  /// Removes a key with all below it. False when there is none.
  bool RemoveKey(std::u16string_view key);
  /// False when there is no such value.
  bool RemoveValue(std::u16string_view key, std::u16string_view name);

  /// UTF-8 with LF, keys and values sorted. What it writes reads back as the same registry; comments are
  /// gone.
  std::string Serialise() const;

  /// Writes a file beside `posix_path` and puts it in its place, so that a reader sees the old registry or
  /// the new one. Makes the folder if it is missing. Returns 0 or a Win32 code.
  DWORD Save(const std::string& posix_path) const;

 private:
  class Parser;

  struct NamedValue {
    std::u16string name;
    RegistryValue value;
  };
  struct Key {
    std::u16string path;
    std::map<std::u16string, NamedValue> values;  // by folded name
  };

  const Key* FindKey(std::u16string_view key) const;

  // Null when the path is malformed. Valid until the key is removed.
  Key* MakeKey(std::u16string_view path);
  static void PutValue(Key& key, std::u16string_view name, RegistryValue value);

  std::map<std::u16string, Key> keys_;  // by folded path, without those that are there only for one below
  size_t first_malformed_line_ = 0;
};

}  // namespace base
