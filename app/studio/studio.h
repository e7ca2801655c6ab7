#pragma once

#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <filesystem>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include "document.h"
#include "export_run.h"
#include "picture_client.h"
#include "web_server.h"

namespace app {

/// A session: the scene that is worked on, its pictures, and what the page may ask for.
///
/// Requests and responses are JSON, errors {"error": sentence} with a status of 400 or more:
///   GET  /api/events?after=N   waits for a change: "serial", "revision", "saved", "export", ...
///   POST /api/state            {"frame"}: the whole scene and the effect's controls
///   POST /api/edit             {"revision", "name", "edits", "frame", "changed"}: changes the
///   scene,
///                              then as state; 409 when it is another than that revision by now
///   POST /api/undo, redo, reload, save    as state
///   POST /api/picture          {"frame", "scale", "over", "alone", "format", "lane", "edits"}: a
///                              picture of the scene, with edits that are not kept; its values are
///                              in a header. 204 when a newer request of the lane took its place
///   POST /api/look             {"name"}: writes the scene's controls as a look
///   POST /api/export, cancel   see ExportWords()
///   POST /api/quit
///
/// An edit is one of scene_edit.h, or {"look": name}, "" being the effect's defaults,
/// {"draw": {"points": [[seconds, x, y], ...], "start", "length", "goesOn", "smoothing",
/// "tolerance"}}, or {"drawing": {"name": "a.svg", "text": ..., "from", "to"}}.
class Studio {
 public:
  Studio(boost::asio::io_context& context, Document document, const std::filesystem::path& effect);

  void Handle(const WebRequest& request, Respond respond);
  const Document& document() const { return document_; }

 private:
  struct Waiter {
    Respond respond;
    std::chrono::steady_clock::time_point since;
  };

  void Watch();
  void Notify();
  Json::Value Events() const;
  void AwaitEvents(const std::string& query, Respond respond);
  void Obey(const std::string& what, const Json::Value& request, const Respond& respond);
  void SendState(const Json::Value& request, const Respond& respond);
  void AskState(const Json::Value& request, const std::string& text,
                std::function<void(Json::Value state, bool is_good)> done);
  void Edit(const Json::Value& request, const Respond& respond);
  void SendPicture(const Json::Value& request, const Respond& respond);
  void SaveLook(const Json::Value& request);
  void Export(const Json::Value& request);

  Json::Value Question(const Json::Value& request, const std::string& text) const;
  Json::Value WithDocument(Json::Value state);
  /// Where the user's own looks are.
  std::filesystem::path Looks() const { return document_.file().parent_path() / "looks"; }
  std::string WithEdits(const Json::Value& edits) const;
  Json::Value Expanded(const Json::Value& edit, const Json::Value& scene) const;
  Json::Value DrawEdits(const Json::Value& draw, const Json::Value& scene) const;
  Json::Value DrawingEdits(const Json::Value& drawing, const Json::Value& scene) const;

  boost::asio::io_context& context_;
  Document document_;
  PictureClient shown_;   // what the user waits for
  PictureClient filled_;  // what is made ready meanwhile
  boost::asio::steady_timer timer_;
  std::list<Waiter> waiters_;
  int serial_ = 1;
  bool outside_ = false;
  std::string crash_;
  std::unique_ptr<ExportRun> export_;
  // Of the last state: what drawings are fitted to.
  int width_ = 0;
  int height_ = 0;
  std::string rate_ = "30";
};

/// A scene to begin with: that of a file, a new one on a picture or movie, or, without a file, a
/// sample that is copied into the user's own folder. Throws Error.
Document OpenDocument(const std::filesystem::path& file);

}  // namespace app
