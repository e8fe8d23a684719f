#include "Ostra/DirectoryRegistry.h"

#include <map>

#include "Ostra/PathUtils.h"
#include "strata/Config.h"
#include "strata/Debug.h"

namespace Ostra {
namespace DirectoryRegistry {

namespace {

typedef std::map<UTF16String, UTF16String> Table;

// Created on first use (the language makes that thread-safe) and never
// destroyed, so lookups during process shut-down still find it.
Table& GetTable() {
  static Table* sTable = new Table;
  return *sTable;
}

bool IsLeadingWhiteSpace(wchar_t inChar) {
  return inChar == L'\t' || inChar == L'\n' || inChar == L'\f' || inChar == L'\r' ||
         inChar == L' ';
}

// Expands the $(name) references of a stored path. Text between '$' and
// '(' is dropped when the reference resolves; unknown and unfinished
// references are copied back as written.
UTF16String Expand(const UTF16String& inStored) {
  enum class State { kPlain, kAfterDollar, kInName };
  State state = State::kPlain;
  UTF16String result;
  UTF16String between;
  UTF16String name;

  std::size_t i = 0;
  while (i < inStored.size() && IsLeadingWhiteSpace(inStored[i])) ++i;
  for (; i < inStored.size(); ++i) {
    const wchar_t c = inStored[i];
    switch (state) {
      case State::kPlain:
        if (c == L'$') {
          between.clear();
          state = State::kAfterDollar;
        } else {
          result += c;
        }
        break;
      case State::kAfterDollar:
        if (c == L'(') {
          name.clear();
          state = State::kInName;
        } else {
          between += c;
        }
        break;
      case State::kInName:
        if (c == L')') {
          if (!name.empty() && GetTable().count(name) != 0)
            result += FindDirectory(name);
          else
            result += L"$" + between + L"(" + name + L")";
          state = State::kPlain;
        } else {
          name += c;
        }
        break;
    }
  }
  if (state == State::kAfterDollar) result += L"$" + between;
  if (state == State::kInName) result += L"$" + between + L"(" + name;
  return result;
}

}  // namespace

void RegisterDirectory(const UTF16String& inFullPathname, const UTF16String& inSymbolicName) {
  STRATA_ASSERT_MSG(!inFullPathname.empty(),
                    "Unable to register this directory: " +
                        strata::string::UTF16toStdString(inSymbolicName));
  STRATA_ASSERT_MSG(!inSymbolicName.empty(), "Invalid symbolic name");
  if (inFullPathname.empty() || inSymbolicName.empty())
    strata::config::ThrowError(
        strata::config::ErrorLevel::kError,
        "$$$/Velmora/Ostra/PermissionError=^1 is unable to access your preference folder. Your "
        "user account may not have access rights, or the folder may have been set to Read Only. "
        "Please check your permissions and try again.",
        strata::config::GetClientName());
  GetTable()[inSymbolicName] = inFullPathname;
}

void UnregisterDirectory(const UTF16String& inSymbolicName) {
  STRATA_INPUT_CONTRACT(!inSymbolicName.empty());
  GetTable().erase(inSymbolicName);
}

UTF16String FindDirectory(const UTF16String& inSymbolicName) {
  STRATA_INPUT_CONTRACT(!inSymbolicName.empty());
  const Table& table = GetTable();
  const Table::const_iterator found = table.find(inSymbolicName);
  if (found == table.end()) return UTF16String();
  const UTF16String expanded = Expand(found->second);
  if (expanded.empty()) return UTF16String();
  const UTF16String pathname = PathUtils::AddTrailingSlash(expanded);
  STRATA_OUTPUT_CONTRACT(PathUtils::IsValidPath(pathname));
  return pathname;
}

}  // namespace DirectoryRegistry
}  // namespace Ostra
