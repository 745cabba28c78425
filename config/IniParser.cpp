#include "config/IniParser.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace {

// The bound of a bounded text binding lives in the bound key's own section, as an item whose key
// is "=", the key, "=" and the bound in decimal bytes: the scanner ends every key at "=", so no
// file can hold such a key. It dies with the section and goes with any copy of it, and two
// documents share nothing.
std::string boundPrefix(const std::string& key) { return '=' + key + '='; }

bool isBoundRecord(const std::string& key) { return !key.empty() && key[0] == '='; }

// The items that record bounds for key.
std::pair<std::map<std::string, IniParam>::iterator, std::map<std::string, IniParam>::iterator>
boundRecords(std::map<std::string, IniParam>& items, const std::string& key) {
  const std::string prefix = boundPrefix(key);
  auto first = items.lower_bound(prefix);
  auto last = first;
  while (last != items.end() && last->first.compare(0, prefix.size(), prefix) == 0) ++last;
  return {first, last};
}

// The smallest bound recorded for key (so that no later insertion can widen it); SIZE_MAX when
// the text is bound without one.
std::size_t textBound(std::map<std::string, IniParam>& items, const std::string& key) {
  std::size_t bound = SIZE_MAX;
  const auto records = boundRecords(items, key);
  for (auto it = records.first; it != records.second; ++it) {
    const std::string digits = it->first.substr(key.size() + 2);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) continue;
    const unsigned long long value = std::strtoull(digits.c_str(), nullptr, 10);
    if (value < bound) bound = static_cast<std::size_t>(value);
  }
  return bound;
}

// Copies len bytes of text and a terminator, cut to capacity - 1 bytes.
void storeText(void* dst, const char* src, std::size_t len, std::size_t capacity) {
  if (capacity == 0) return;
  if (len > capacity - 1) len = capacity - 1;
  std::memcpy(dst, src, len);
  static_cast<char*>(dst)[len] = '\0';
}

// Writes text through to the buffer bound to section/key, within its recorded bound.
void writeThroughText(IniSection& section, const std::string& key, void* buffer,
                      const char* text) {
  storeText(buffer, text, std::strlen(text), textBound(section.Items, key));
}

IniSection* findSection(std::map<std::string, IniSection>& sections, const std::string& name) {
  auto found = sections.find(name);
  return found == sections.end() ? nullptr : &found->second;
}

// Finishes a typed read: binds out to the key when asked.
bool bindIfAsked(IniSection& section, const std::string& key, void* out, unsigned char bind) {
  return bind ? section.OnSetValuePtr(key, out) : true;
}

// Replaces an existing key's text. Returns the section, null when it is absent; *item is the
// key's item, or null when the key is absent.
IniSection* replaceText(std::map<std::string, IniSection>& sections, const std::string& section,
                        const std::string& key, std::string text, IniParam** item) {
  IniSection* found = findSection(sections, section);
  if (!found) return nullptr;
  auto entry = found->Items.find(key);
  *item = entry == found->Items.end() ? nullptr : &entry->second;
  if (*item) (*item)->Value = std::move(text);
  return found;
}

// The four-state scanner of a whole file. Storing a section whose name is already present
// keeps the earlier one.
void parseDocument(IniParser& doc, const char* text, int length) {
  std::map<std::string, IniSection>& sections = doc.Sections;
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
          doc.SkipLine(text, length, pos);
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
          doc.SkipLine(text, length, pos);
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

IniSection::~IniSection() = default;

bool IniSection::OnEmpty() const { return Name.empty(); }

void IniSection::OnClear() {
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
  found->second.ValuePtr = ptr;
  const auto bounds = boundRecords(Items, key);  // a new binding starts unbounded
  Items.erase(bounds.first, bounds.second);
  return true;
}

void IniSection::OnGetKeyList(std::vector<std::string>& keys) {
  for (const auto& entry : Items)
    if (!isBoundRecord(entry.first)) keys.push_back(entry.first);
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
  parseDocument(*this, text.data(), length);
  return true;
}

bool IniParser::OnSave(const char* path) {
  if (!path) return false;
  std::ofstream file(path, std::ios::out | std::ios::trunc);
  if (!file) return false;
  for (const auto& section : Sections) {
    file << '[' << section.first << "]\n" << std::flush;
    for (const auto& item : section.second.Items)
      if (!isBoundRecord(item.first)) file << item.first << '=' << item.second.Value << '\n' << std::flush;
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
  if (capacity != SIZE_MAX) found->OnInsertItem(boundPrefix(key) + std::to_string(capacity), "");
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
  return replaceText(Sections, section, key, std::move(value), &item) != nullptr;
}

bool IniParser::OnSetValue(const std::string& section, const std::string& key,
                           const char* value) {
  IniParam* item = nullptr;
  IniSection* found = replaceText(Sections, section, key, value, &item);
  if (!found) return false;
  if (item && item->ValuePtr) writeThroughText(*found, key, item->ValuePtr, value);
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
