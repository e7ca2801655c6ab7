#include "document.h"

#include <fmt/format.h>

#include <functional>
#include <utility>

#include "errors.h"
#include "files.h"
#include "output_file.h"

namespace app {
namespace {

/// Of all steps together, bytes; older ones are forgotten.
constexpr std::size_t kMostHistory = std::size_t{32} << 20;

std::string WithoutMark(std::string text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  return text;
}

void Store(const std::filesystem::path& path, const std::string& text) {
  OutputFile file(path);
  file.Write(text);
  file.Commit();
}

}  // namespace

Document::Document(std::filesystem::path file, const std::optional<std::string>& text)
    : file_(std::move(file)) {
  if (!text) saved_ = ReadTextFile(file_);
  steps_.push_back({WithoutMark(text ? *text : *saved_), ""});
  std::error_code ignored;
  if (std::filesystem::exists(Journal(), ignored)) {
    std::string unsaved = ReadTextFile(Journal());
    recovered_ = unsaved != this->text();
    if (recovered_) Change(std::move(unsaved), "unsaved work");
  }
}

bool Document::is_saved() const { return saved_ ? WithoutMark(*saved_) == text() : now_ == 0; }

std::string Document::revision() const {
  return fmt::format("{:016x}", std::hash<std::string>{}(text()));
}

void Document::Change(std::string text, std::string what) {
  if (text == this->text()) return;
  steps_.resize(now_ + 1);
  steps_.push_back({std::move(text), std::move(what)});
  std::size_t size = 0;
  for (const Step& step : steps_) size += step.text.size();
  while (size > kMostHistory && steps_.size() > 2) {
    size -= steps_.front().text.size();
    steps_.erase(steps_.begin());
  }
  now_ = steps_.size() - 1;
  KeepJournal();
}

void Document::Undo() {
  if (now_ == 0) return;
  --now_;
  KeepJournal();
}

void Document::Redo() {
  if (now_ + 1 == steps_.size()) return;
  ++now_;
  KeepJournal();
}

void Document::Save(bool replace) {
  if (!replace && IsChangedOutside()) {
    throw InputError(fmt::format("\"{}\" was changed by another program", file_.string()));
  }
  Store(file_, text());
  saved_ = text();
  recovered_ = false;
  KeepJournal();
}

bool Document::IsChangedOutside() const { return FileText() != saved_; }

void Document::Reload() {
  saved_ = ReadTextFile(file_);
  Change(WithoutMark(*saved_), "reloading");
  KeepJournal();
}

std::filesystem::path Document::Journal() const {
  return file_.parent_path() / fmt::format(".{}.unsaved", file_.filename().string());
}

void Document::KeepJournal() try {
  if (is_saved()) {
    std::error_code ignored;
    std::filesystem::remove(Journal(), ignored);
  } else {
    Store(Journal(), text());
  }
  journal_fault_.clear();
} catch (const FileError& error) {
  journal_fault_ = error.what();
}

/// Nothing when there is no file that can be read.
std::optional<std::string> Document::FileText() const {
  try {
    return ReadTextFile(file_);
  } catch (const FileError&) {
    return std::nullopt;
  }
}

}  // namespace app
