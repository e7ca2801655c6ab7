#pragma once

namespace app {

/// While one of these lives, SIGINT and SIGTERM are noted instead of ending the program at once. A
/// second signal of the same kind ends it.
class NotedSignals {
 public:
  NotedSignals();
  ~NotedSignals();
  NotedSignals(const NotedSignals&) = delete;
  NotedSignals& operator=(const NotedSignals&) = delete;

  /// The signal that arrived, or 0. From any thread.
  static int Arrived();
  /// Throws Interrupted when one arrived.
  static void Check();
};

}  // namespace app
