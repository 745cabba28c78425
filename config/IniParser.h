// In-memory INI document: sections of key=value items read from and written back to text files,
// with typed look-ups that can bind an item to a caller variable for later write-through.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

// One key's item.
struct IniParam {
  std::string Value;         // text after "=", exactly as read (no trimming)
  void* ValuePtr = nullptr;  // caller variable bound to the item; null until bound
};

// One [section] with its items.
class IniSection {
public:
  std::string Name;                       // text between "[" and "]", exactly as read
  std::map<std::string, IniParam> Items;  // items by key, keys compared byte-wise, ascending

  IniSection();
  virtual ~IniSection();

  // True when the name is empty, whatever the items.
  bool OnEmpty() const;
  void OnClear();
  // Adds the item unbound; an existing key keeps its item.
  void OnInsertItem(const std::string& key, const std::string& value);
  // The value text; empty when the key is absent.
  std::string OnGetValue(const std::string& key);
  // The bound variable; null when unbound or when the key is absent.
  void* OnGetValuePtr(const std::string& key);
  // Replaces the value of an existing key; false (nothing added) when it is absent.
  bool OnSetValue(const std::string& key, std::string value);
  // Binds ptr to an existing key; false when it is absent.
  bool OnSetValuePtr(const std::string& key, void* ptr);
  // Appends the keys in ascending order; keys already in the vector stay. Keys that begin with
  // "=" are left out: no file can hold them (a key ends at "="), and the document keeps the
  // bounds of bounded text bindings under them, in the section of the bound key.
  void OnGetKeyList(std::vector<std::string>& keys);
};

// The whole document, sections by name (byte-wise ascending).
//
// Typed getters: an absent section returns false and leaves the destination alone; otherwise the
// destination receives the value (empty text or 0 for an absent key) and, with bind non-zero, is
// bound to the key, the result then being whether the key exists. Setters: an absent section
// returns false; otherwise an existing key's text is replaced (absent keys are not created) and
// the result is true; the typed setters then write through to a bound variable.
class IniParser {
public:
  std::map<std::string, IniSection> Sections;  // sections by name, held by value

  IniParser();
  virtual ~IniParser();

  // Advances pos over space, tab, carriage return and line feed while pos < length.
  void SkipLine(const char* text, int length, int& pos);

  // Replaces the document by the file's sections; false only when the file cannot be read
  // (also for files of 2 GiB or more), the document then being empty.
  bool OnLoad(const char* path);
  // Writes "[name]" and "key=value" lines in ascending order (keys beginning with "=" left out);
  // false when the file cannot be opened for writing.
  bool OnSave(const char* path);
  // Replaces the contents of names by the section names in ascending order.
  void OnGetSectionList(std::vector<std::string>& names);

  bool OnGetValue(const std::string& section, const std::string& key, std::string& out);
  // Copies the whole text with its terminator: out must be large enough for any value.
  bool OnGetValue(const std::string& section, const std::string& key, char* out,
                  unsigned char bind);
  // Copies at most capacity - 1 bytes and a terminator (nothing when capacity is 0); a binding
  // made here keeps the same bound for later text write-through, for as long as the item stays
  // bound to out.
  bool OnGetValue(const std::string& section, const std::string& key, char* out,
                  std::size_t capacity, unsigned char bind);
  // strtol base 10, narrowed to 32 bits; 0 when no digits.
  bool OnGetValue(const std::string& section, const std::string& key, int* out,
                  unsigned char bind);
  // strtod; 0.0 when no number.
  bool OnGetValue(const std::string& section, const std::string& key, double* out,
                  unsigned char bind);

  // Stores the text only; no write-through.
  bool OnSetValue(const std::string& section, const std::string& key, std::string value);
  bool OnSetValue(const std::string& section, const std::string& key, const char* value);
  // Stored as plain decimal text.
  bool OnSetValue(const std::string& section, const std::string& key, int value);
  // Stored in "%g" form: six significant digits, trailing zeros dropped (1234567 -> 1.23457e+06).
  bool OnSetValue(const std::string& section, const std::string& key, double value);
};
