#include "config/IniParser.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace {

// A text buffer bound with a known capacity.
struct TextBinding {
  void* buffer;          // the bound buffer, to recognise a later rebinding of the item
  std::size_t capacity;  // bytes available, terminator included
};

// Capacities of bounded text bindings, by item. Kept beside the items so that IniParam stays
// {Value, ValuePtr}. Never destroyed: documents with static storage (the loader's global parser)
// are destroyed at exit in no defined order relative to this table, and still erase from it.
std::map<const IniParam*, TextBinding>& textBindings() {
  static auto* table = new std::map<const IniParam*, TextBinding>();
  return *table;
}

void forgetTextBinding(const IniParam& item) {
  auto& table = textBindings();
  if (!table.empty()) table.erase(&item);
}

void forgetTextBindings(const std::map<std::string, IniParam>& items) {
  if (textBindings().empty()) return;
  for (const auto& entry : items) forgetTextBinding(entry.second);
}

// Copies len bytes of text and a terminator, cut to capacity - 1 bytes.
void storeText(void* dst, const char* src, std::size_t len, std::size_t capacity) {
  if (capacity == 0) return;
  if (len > capacity - 1) len = capacity - 1;
  std::memcpy(dst, src, len);
  static_cast<char*>(dst)[len] = '\0';
}

// Writes text through to the item's bound buffer, within the bound recorded for it, if any.
void writeThroughText(const IniParam& item, const char* text) {
  std::size_t capacity = SIZE_MAX;
  auto& table = textBindings();
  auto found = table.find(&item);
  if (found != table.end() && found->second.buffer == item.ValuePtr)
    capacity = found->second.capacity;
  storeText(item.ValuePtr, text, std::strlen(text), capacity);
}

IniSection* findSection(std::map<std::string, IniSection>& sections, const std::string& name) {
  auto found = sections.find(name);
  return found == sections.end() ? nullptr : &found->second;
}

// Finishes a typed read: binds out to the key when asked.
bool bindIfAsked(IniSection& section, const std::string& key, void* out, unsigned char bind) {
  return bind ? section.OnSetValuePtr(key, out) : true;
}

// Replaces an existing key's text. False when the section is absent; otherwise *item is the
// key's item, or null when the key is absent.
bool replaceText(std::map<std::string, IniSection>& sections, const std::string& section,
                 const std::string& key, std::string text, IniParam** item) {
  IniSection* found = findSection(sections, section);
  if (!found) return false;
  auto entry = found->Items.find(key);
  *item = entry == found->Items.end() ? nullptr : &entry->second;
  if (*item) (*item)->Value = std::move(text);
  return true;
}

// The four-state scanner of a whole file. Storing a section whose name is already present
// keeps the earlier one.
void parseDocument(std::map<std::string, IniSection>& sections, const char* text, int length) {
  enum State { BeforeSection, SectionName, Key, Value };
  State state = BeforeSection;
  IniSection current;
  std::string key;
  std::string value;
  int pos = 0;
  while (pos < length) {
    const char c = text[pos++];
    switch (state) {
      case BeforeSection:
        if (c == '[') {
          current.OnClear();
          state = SectionName;
        }
        break;
      case SectionName:
        if (c == ']') {
          IniParser::SkipLine(text, length, pos);
          state = Key;
        } else {
          current.Name += c;
        }
        break;
      case Key:
        if (c == '[') {
          sections.try_emplace(current.Name, current);
          current.OnClear();
          state = SectionName;
        } else if (c == '=') {
          state = Value;
        } else {
          key += c;
        }
        break;
      case Value:
        if (c == '\r' || c == '\n') {
          current.OnInsertItem(key, value);
          key.clear();
          value.clear();
          IniParser::SkipLine(text, length, pos);
          state = Key;
        } else {
          value += c;
        }
        break;
    }
  }
  if (state == Key || state == Value) {
    if (!key.empty() && !value.empty()) current.OnInsertItem(key, value);
    sections.try_emplace(current.Name, current);
  }
}

}  // namespace

IniSection::IniSection() = default;

IniSection::~IniSection() { forgetTextBindings(Items); }

bool IniSection::OnEmpty() const { return Name.empty(); }

void IniSection::OnClear() {
  forgetTextBindings(Items);
  Name.clear();
  Items.clear();
}

void IniSection::OnInsertItem(const std::string& key, const std::string& value) {
  Items.try_emplace(key, IniParam{value, nullptr});
}

std::string IniSection::OnGetValue(const std::string& key) {
  auto found = Items.find(key);
  return found == Items.end() ? std::string() : found->second.Value;
}

void* IniSection::OnGetValuePtr(const std::string& key) {
  auto found = Items.find(key);
  return found == Items.end() ? nullptr : found->second.ValuePtr;
}

bool IniSection::OnSetValue(const std::string& key, std::string value) {
  auto found = Items.find(key);
  if (found == Items.end()) return false;
  found->second.Value = std::move(value);
  return true;
}

bool IniSection::OnSetValuePtr(const std::string& key, void* ptr) {
  auto found = Items.find(key);
  if (found == Items.end()) return false;
  forgetTextBinding(found->second);
  found->second.ValuePtr = ptr;
  return true;
}

void IniSection::OnGetKeyList(std::vector<std::string>& keys) {
  for (const auto& entry : Items) keys.push_back(entry.first);
}

IniParser::IniParser() = default;

IniParser::~IniParser() = default;

void IniParser::SkipLine(const char* text, int length, int& pos) {
  while (pos < length) {
    const char c = text[pos];
    if (c != ' ' && c != '\t' && c != '\r' && c != '\n') return;
    ++pos;
  }
}

bool IniParser::OnLoad(const char* path) {
  Sections.clear();
  if (!path) return false;
  std::ifstream file(path);
  if (!file) return false;
  // Positions are 32-bit: a file must leave room for the buffer's extra zero byte.
  file.seekg(0, std::ios::end);
  const std::streamoff size = file.tellg();
  if (size < 0 || size >= INT_MAX) return false;
  file.seekg(0, std::ios::beg);
  std::vector<char> text(static_cast<std::size_t>(size) + 1, '\0');
  file.read(text.data(), size);
  const int length = static_cast<int>(file.gcount());
  file.close();
  parseDocument(Sections, text.data(), length);
  return true;
}

bool IniParser::OnSave(const char* path) {
  if (!path) return false;
  std::ofstream file(path, std::ios::out | std::ios::trunc);
  if (!file) return false;
  for (const auto& section : Sections) {
    file << '[' << section.first << "]\n" << std::flush;
    for (const auto& item : section.second.Items)
      file << item.first << '=' << item.second.Value << '\n' << std::flush;
  }
  return true;
}

void IniParser::OnGetSectionList(std::vector<std::string>& names) {
  names.clear();
  for (const auto& section : Sections) names.push_back(section.first);
}

bool IniParser::OnGetValue(const std::string& section, const std::string& key,
                           std::string& out) {
  IniSection* found = findSection(Sections, section);
  if (!found) return false;
  out = found->OnGetValue(key);
  return true;
}

bool IniParser::OnGetValue(const std::string& section, const std::string& key, char* out,
                           unsigned char bind) {
  return OnGetValue(section, key, out, SIZE_MAX, bind);
}

bool IniParser::OnGetValue(const std::string& section, const std::string& key, char* out,
                           std::size_t capacity, unsigned char bind) {
  IniSection* found = findSection(Sections, section);
  if (!found) return false;
  const std::string text = found->OnGetValue(key);
  storeText(out, text.data(), text.size(), capacity);
  if (!bind) return true;
  if (!found->OnSetValuePtr(key, out)) return false;
  textBindings()[&found->Items.find(key)->second] = TextBinding{out, capacity};
  return true;
}

bool IniParser::OnGetValue(const std::string& section, const std::string& key, int* out,
                           unsigned char bind) {
  IniSection* found = findSection(Sections, section);
  if (!found) return false;
  *out = static_cast<int>(std::strtol(found->OnGetValue(key).c_str(), nullptr, 10));
  return bindIfAsked(*found, key, out, bind);
}

bool IniParser::OnGetValue(const std::string& section, const std::string& key, double* out,
                           unsigned char bind) {
  IniSection* found = findSection(Sections, section);
  if (!found) return false;
  *out = std::strtod(found->OnGetValue(key).c_str(), nullptr);
  return bindIfAsked(*found, key, out, bind);
}

bool IniParser::OnSetValue(const std::string& section, const std::string& key,
                           std::string value) {
  IniParam* item = nullptr;
  return replaceText(Sections, section, key, std::move(value), &item);
}

bool IniParser::OnSetValue(const std::string& section, const std::string& key,
                           const char* value) {
  IniParam* item = nullptr;
  if (!replaceText(Sections, section, key, value, &item)) return false;
  if (item && item->ValuePtr) writeThroughText(*item, value);
  return true;
}

bool IniParser::OnSetValue(const std::string& section, const std::string& key, int value) {
  IniParam* item = nullptr;
  if (!replaceText(Sections, section, key, std::to_string(value), &item)) return false;
  if (item && item->ValuePtr) *static_cast<int*>(item->ValuePtr) = value;
  return true;
}

bool IniParser::OnSetValue(const std::string& section, const std::string& key, double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  IniParam* item = nullptr;
  if (!replaceText(Sections, section, key, text, &item)) return false;
  if (item && item->ValuePtr) *static_cast<double*>(item->ValuePtr) = value;
  return true;
}
