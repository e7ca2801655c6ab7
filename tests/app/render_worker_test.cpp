// The threads of a worker process, here in the test's own process, where a sanitizer sees them.
#include "render_worker.h"

#include <sys/socket.h>

#include <array>
#include <memory>

#include "picture_file.h"
#include "support.h"

namespace app {
namespace {

using Threads = InSceneFolder;

TEST_F(Threads, OfAWorkerReadRenderAndStoreFramesInOrder) {
  RenderArguments arguments;
  arguments.scene.file = "scene.json";
  arguments.shots.output = "o.####.png";
  arguments.effect = EFFECT;
  const RenderPlan plan(arguments);
  std::array<int, 2> ends{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
  const MessageSocket run(ends[0]);
  const MessageSocket worker(ends[1]);
  const auto count = static_cast<std::int32_t>(plan.shots().size());
  for (std::int32_t shot = 0; shot < count; ++shot) run.Send(Job{shot});
  run.EndSending();

  const auto status = std::make_unique<SharedStatus>();
  RenderWorker{plan, 2, StoreAsPictures(plan), {}, *status, 0}.Work(worker);

  std::array<int, 2> next{};  // of rendered and of stored frames
  while (next[1] < count) {
    const auto result = run.Receive<JobResult>();
    ASSERT_TRUE(result);
    ASSERT_NE(result->kind, JobResult::Kind::kFailed) << result->message;
    EXPECT_EQ(result->shot, next.at(result->kind == JobResult::Kind::kStored ? 1 : 0)++);
  }
  EXPECT_EQ(next[0], count);
  EXPECT_EQ(Entries(), With({"o.0000.png", "o.0001.png", "o.0002.png", "o.0003.png"}));
}

}  // namespace
}  // namespace app
