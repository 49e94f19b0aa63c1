#include "fiofla/report/report_text.h"

#include <map>
#include <mutex>
#include <string>

namespace fiofla {
namespace {

// Function-local statics: texts are registered from other translation units' static
// initialisers, which may run before any namespace-scope object of this file exists.
std::map<std::uint32_t, CStr>& Texts() {
  static std::map<std::uint32_t, CStr> texts;
  return texts;
}

std::mutex& TextsMutex() {
  static std::mutex mutex;
  return mutex;
}

const char* const kCommonTexts[] = {"Passed"};
const TextRegistrar kCommonRegistrar(kTextCheckPassed, kCommonTexts, 1);

}  // namespace

void RegisterText(std::uint32_t number, CStr text) {
  std::lock_guard<std::mutex> lock(TextsMutex());
  // Assigning to an existing node keeps pointers handed out by FindText valid.
  Texts()[number] = std::move(text);
}

CStr const* FindText(std::uint32_t number) {
  std::lock_guard<std::mutex> lock(TextsMutex());
  auto const found = Texts().find(number);
  return found == Texts().end() ? nullptr : &found->second;
}

CStr ReportText(std::uint32_t number) {
  std::lock_guard<std::mutex> lock(TextsMutex());
  auto const found = Texts().find(number);
  if (found != Texts().end()) return found->second;
  return CStr("[text " + std::to_string(number) + "]");
}

TextRegistrar::TextRegistrar(std::uint32_t first, const char* const* texts, std::uint32_t count) {
  if (texts == nullptr) return;
  for (std::uint32_t i = 0; i < count; ++i) RegisterText(first + i, CStr(texts[i]));
}

}  // namespace fiofla
