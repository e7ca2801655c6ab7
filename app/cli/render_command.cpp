#include "render_command.h"

#include <exception>

#include "errors.h"
#include "interrupt.h"
#include "picture_file.h"
#include "render_plan.h"
#include "render_results.h"
#include "render_run.h"
#include "standard_streams.h"

namespace app {
namespace {

void PrintResults(const RenderArguments& arguments, const RenderResults& results) {
  if (arguments.json) {
    PrintResult(results.Json(arguments.statistics));
  } else if (arguments.statistics) {
    PrintResult(results.StatisticsJson());
  }
}

void Run(const RenderArguments& arguments) {
  // Worker processes are forked, which takes a process without other threads.
  KeepPicturesSingleThreaded();
  const RenderPlan plan(arguments);
  RenderResults results;
  try {
    RunPlan(plan, arguments.progress, results);
  } catch (const Error&) {
    PrintResults(arguments, results);
    throw;
  }
  PrintResults(arguments, results);
}

}  // namespace

void RunRender(const RenderArguments& arguments) {
  const NotedSignals signals;
  try {
    Run(arguments);
  } catch (const Interrupted&) {
    throw;
  } catch (...) {
    if (arguments.progress != ProgressStyle::kJson) throw;
    const Error error = AsError(std::current_exception());
    RenderProgress::PrintError(arguments.progress, error.what());
    throw Error(error.code(), "");
  }
}

}  // namespace app
