#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace app {

/// The scene that is being worked on: its text, what it was before, and its file. What is not saved
/// is kept in a hidden file beside the scene's, so that it survives the end of this process.
class Document {
 public:
  /// Opens a scene's file, and takes up work on it that was not saved. With `text` a scene that has
  /// no file yet. Throws FileError.
  explicit Document(std::filesystem::path file, const std::optional<std::string>& text = {});

  const std::filesystem::path& file() const { return file_; }
  const std::string& text() const { return steps_[now_].text; }
  /// As the same text has the same name, pictures of it can be kept under that.
  std::string revision() const;
  /// Whether closing it loses nothing.
  bool is_saved() const;
  /// Unsaved work of an earlier session was found.
  bool is_recovered() const { return recovered_; }
  /// Why unsaved work cannot be kept; empty: it is.
  const std::string& journal_fault() const { return journal_fault_; }

  /// A new text; `what` was done, as "Stroke Width", is what undoing it is called.
  void Change(std::string text, std::string what);
  /// Both do nothing where there is nothing to be undone or done again.
  void Undo();
  void Redo();
  /// What would be; empty: nothing.
  std::string UndoName() const { return now_ > 0 ? steps_[now_].name : ""; }
  std::string RedoName() const { return now_ + 1 < steps_.size() ? steps_[now_ + 1].name : ""; }

  /// Writes the file, whole or not at all. Throws FileError; InputError when the file has been
  /// changed by others since, unless `replace`.
  void Save(bool replace);
  /// Whether the file is not as it was read or saved last.
  bool IsChangedOutside() const;
  /// Takes the file's text, as a step that can be undone. Throws FileError.
  void Reload();

 private:
  struct Step {
    std::string text;
    std::string name;
  };

  std::filesystem::path Journal() const;
  void KeepJournal();
  std::optional<std::string> FileText() const;

  std::filesystem::path file_;
  std::vector<Step> steps_;
  std::size_t now_ = 0;
  std::optional<std::string> saved_;  // what the file held when it was read or written last
  bool recovered_ = false;
  std::string journal_fault_;
};

}  // namespace app
