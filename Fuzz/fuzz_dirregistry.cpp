// The directory registry's $(name) expansion: names and paths from the
// input ("name=path" lines) are registered, and every lookup must give what
// the documented rules give, here found by searching for '$', the first '('
// behind it and the first ')' behind that rather than by walking states.
// That covers the plain cases too: a path without '$' comes back as stored
// (leading blanks dropped, a separator added), and "$(name)" gives the
// name's own expansion.
#include <map>
#include <set>

#include "FuzzSupport.h"
#include "Ostra/DirectoryRegistry.h"
#include "Ostra/PathUtils.h"

namespace {

namespace Registry = Ostra::DirectoryRegistry;
using strata::UTF16String;
typedef std::map<UTF16String, UTF16String> Table;

// Names that refer to themselves recurse without end, as documented, and
// references can multiply the text (or the work) at every level: such
// lookups are left out rather than run.
const std::size_t kMaxExpansion = 1 << 14;
const int kMaxSteps = 20000;

struct Model {
  explicit Model(const Table& inTable) : table(inTable) {}

  const Table& table;
  std::set<UTF16String> open;  // names being expanded
  int steps = 0;

  // False when the lookup would not end or would be too large.
  bool Find(const UTF16String& inName, UTF16String& outPath) {
    const Table::const_iterator found = table.find(inName);
    outPath.clear();
    if (found == table.end()) return true;
    if (!open.insert(inName).second || ++steps > kMaxSteps) return false;
    const UTF16String& text = found->second;
    std::size_t at = text.find_first_not_of(L" \t\n\f\r");
    UTF16String expanded;
    while (at != UTF16String::npos && at < text.size()) {
      const std::size_t dollar = text.find(L'$', at);
      const std::size_t paren = text.find(L'(', dollar == UTF16String::npos ? dollar : dollar + 1);
      const std::size_t close = text.find(L')', paren == UTF16String::npos ? paren : paren + 1);
      if (close == UTF16String::npos) {  // no reference, or one left open
        expanded.append(text, at, UTF16String::npos);
        break;
      }
      expanded.append(text, at, dollar - at);
      const UTF16String name = text.substr(paren + 1, close - paren - 1);
      UTF16String inner;
      if (!name.empty() && table.count(name) != 0) {
        if (!Find(name, inner)) return false;
        expanded += inner;
      } else {
        expanded.append(text, dollar, close + 1 - dollar);
      }
      if (expanded.size() > kMaxExpansion) return false;
      at = close + 1;
    }
    open.erase(inName);
    if (!expanded.empty()) outPath = Ostra::PathUtils::AddTrailingSlash(expanded);
    return true;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
  const UTF16String text = OstraFuzz::UnitsOf(inData, inSize);
  Table table;
  for (std::size_t start = 0; start <= text.size() && table.size() < 8;) {
    std::size_t end = text.find(L'\n', start);
    if (end == UTF16String::npos) end = text.size();
    const std::size_t equals = text.find(L'=', start);
    // Empty names and paths are refused by registration itself.
    if (equals != UTF16String::npos && equals > start && equals + 1 < end) {
      const UTF16String name = text.substr(start, equals - start);
      const UTF16String path = text.substr(equals + 1, end - equals - 1);
      table[name] = path;
      Registry::RegisterDirectory(path, name);
    }
    start = end + 1;
  }
  for (const auto& entry : table) {
    Model model(table);
    UTF16String expected;
    if (!model.Find(entry.first, expected)) continue;
    FUZZ_CHECK(Registry::FindDirectory(entry.first) == expected);
    if (entry.second.find(L'$') == UTF16String::npos) {
      const std::size_t first = entry.second.find_first_not_of(L" \t\n\f\r");
      FUZZ_CHECK(first == UTF16String::npos
                     ? expected.empty()
                     : expected == Ostra::PathUtils::AddTrailingSlash(entry.second.substr(first)));
    }
  }
  for (const auto& entry : table) {
    Registry::UnregisterDirectory(entry.first);
    FUZZ_CHECK(Registry::FindDirectory(entry.first).empty());
  }
  return 0;
}
