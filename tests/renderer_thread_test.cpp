#include "renderer/basic_renderer_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include "plugin/hx_exception.h"

namespace {

// Stands in for the GL renderer: records on which thread it was built and destroyed.
struct ProbeRenderer {
  std::thread::id* destroyed_on = nullptr;
  ~ProbeRenderer() {
    if (destroyed_on != nullptr) {
      *destroyed_on = std::this_thread::get_id();
    }
  }
};

using ProbeThread = BasicRendererThread<ProbeRenderer>;

// A renderer that records where it is destroyed, built by a factory that records where it runs.
ProbeThread::Factory recording_factory(std::thread::id& built_on, std::thread::id& destroyed_on) {
  return [&built_on, &destroyed_on] {
    built_on = std::this_thread::get_id();
    auto renderer = std::make_unique<ProbeRenderer>();
    renderer->destroyed_on = &destroyed_on;
    return renderer;
  };
}

struct shader_failure : hx_exception {
  using hx_exception::hx_exception;
};

// Runs action on a helper thread and tells whether it returned within a generous limit, so
// that a blocking destructor fails the test instead of hanging it.
template <typename Action>
bool returns_promptly(Action action) {
  auto returned = std::make_shared<std::promise<void>>();
  std::future<void> future = returned->get_future();
  std::thread([returned, action = std::move(action)]() mutable {
    action();
    returned->set_value();
  }).detach();
  return future.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
}

TEST(RendererThread, JobsRunOneAfterAnotherOnTheThreadThatBuiltTheRenderer) {
  std::thread::id built_on;
  std::thread::id destroyed_on;
  ProbeThread thread(recording_factory(built_on, destroyed_on));
  EXPECT_NE(built_on, std::this_thread::get_id());

  std::vector<int> order;
  std::vector<std::thread::id> ran_on;
  for (int i = 0; i < 10; ++i) {
    thread.run([&order, &ran_on, i] {
      order.push_back(i);
      ran_on.push_back(std::this_thread::get_id());
    });
  }
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  for (const std::thread::id& id : ran_on) {
    EXPECT_EQ(id, built_on);
  }
}

TEST(RendererThread, OperationsActOnTheBuiltRendererAndReturnResultsThroughTheCaller) {
  ProbeRenderer* built = nullptr;
  ProbeThread thread([&built] {
    auto renderer = std::make_unique<ProbeRenderer>();
    built = renderer.get();
    return renderer;
  });
  ProbeRenderer* seen = nullptr;
  thread.run_on_renderer([&seen](ProbeRenderer& renderer) { seen = &renderer; });
  EXPECT_NE(built, nullptr);
  EXPECT_EQ(seen, built);
}

TEST(RendererThread, AJobExceptionReachesItsCallerWithItsTypeAndMessage) {
  struct Case {
    std::function<void()> job;
    const std::type_info& type;
    std::string message;
  };
  const Case cases[] = {
      {[] { throw hx_exception("texture too large"); }, typeid(hx_exception), "texture too large"},
      {[] { throw std::runtime_error("failed to attach render target"); },
       typeid(std::runtime_error), "failed to attach render target"},
      {[] { throw shader_failure("could not build program"); }, typeid(shader_failure),
       "could not build program"},
      {[] { throw std::out_of_range("slot 9"); }, typeid(std::out_of_range), "slot 9"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    ProbeThread thread;
    try {
      thread.run(c.job);
      ADD_FAILURE() << "the job's exception did not reach the caller";
    } catch (const std::exception& e) {
      EXPECT_EQ(typeid(e), c.type);
      EXPECT_EQ(std::string(e.what()), c.message);
    }
  }
}

TEST(RendererThread, AFailedJobEndsTheThreadForGood) {
  std::thread::id built_on;
  std::thread::id destroyed_on;
  auto thread = std::make_unique<ProbeThread>(recording_factory(built_on, destroyed_on));

  EXPECT_THROW(thread->run([] { throw hx_exception("lost context"); }), hx_exception);
  // The renderer went down with the failed job, on its own thread.
  EXPECT_EQ(destroyed_on, built_on);

  bool ran = false;
  for (int attempt = 0; attempt < 3; ++attempt) {
    EXPECT_NO_THROW(thread->run([&ran] { ran = true; }));
  }
  EXPECT_FALSE(ran);

  EXPECT_TRUE(returns_promptly([thread = std::move(thread)]() mutable { thread.reset(); }));
}

TEST(RendererThread, DestroyingItRightAfterAFailedJobDoesNotBlock) {
  auto thread = std::make_unique<ProbeThread>();
  EXPECT_THROW(thread->run([] { throw std::runtime_error("out of memory"); }), std::runtime_error);
  EXPECT_TRUE(returns_promptly([thread = std::move(thread)]() mutable { thread.reset(); }));
}

TEST(RendererThread, DestroyingItWhileIdleDestroysTheRendererOnTheRenderThread) {
  std::thread::id built_on;
  std::thread::id destroyed_on;
  auto thread = std::make_unique<ProbeThread>(recording_factory(built_on, destroyed_on));
  thread->run([] {});
  EXPECT_EQ(destroyed_on, std::thread::id());

  EXPECT_TRUE(returns_promptly([thread = std::move(thread)]() mutable { thread.reset(); }));
  EXPECT_NE(built_on, std::this_thread::get_id());
  EXPECT_EQ(destroyed_on, built_on);
}

TEST(RendererThread, AConstructionFailureIsRethrownByTheConstructor) {
  // Repeated so that a thread still touching the freed object would show up under the
  // address and thread sanitizers.
  for (int attempt = 0; attempt < 20; ++attempt) {
    std::thread::id failed_on;
    try {
      auto thread = std::make_unique<ProbeThread>([&failed_on]() -> std::unique_ptr<ProbeRenderer> {
        failed_on = std::this_thread::get_id();
        throw std::runtime_error("failed to create OpenGL 4.1 context");
      });
      ADD_FAILURE() << "the constructor returned";
    } catch (const std::runtime_error& e) {
      EXPECT_STREQ(e.what(), "failed to create OpenGL 4.1 context");
    }
    EXPECT_NE(failed_on, std::thread::id());
    EXPECT_NE(failed_on, std::this_thread::get_id());
  }
}

TEST(RendererThread, AnEmptyJobIsRefusedAndTheThreadStaysUsable) {
  ProbeThread thread;
  EXPECT_THROW(thread.submit(RendererJob()), std::bad_function_call);
  bool ran = false;
  thread.run([&ran] { ran = true; });
  EXPECT_TRUE(ran);
}

TEST(RendererThread, AJobsErrorReachesItsCallerHoweverFastTheJobEnded) {
  for (int attempt = 0; attempt < 40; ++attempt) {
    ProbeThread thread;
    std::promise<void> throwing;
    std::future<void> about_to_throw = throwing.get_future();
    const std::string message = "job " + std::to_string(attempt);
    thread.submit([&throwing, &message] {
      throwing.set_value();
      throw hx_exception(message);
    });
    if (attempt % 2 == 0) {
      // Half of the callers come to wait only after the job has failed and reported.
      about_to_throw.wait();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    try {
      thread.wait();
      ADD_FAILURE() << message << ": the error was lost";
    } catch (const hx_exception& e) {
      EXPECT_EQ(std::string(e.what()), message);
    }
  }
}

TEST(RendererThread, CallersSerialisedByAMutexHaveEveryJobRunExactlyOnce) {
  constexpr int kCallers = 4;
  constexpr int kJobsPerCaller = 250;
  ProbeThread thread;
  std::mutex callers_mutex;
  std::vector<int> runs(kCallers * kJobsPerCaller, 0);
  std::atomic<int> in_flight{0};
  std::atomic<int> most_in_flight{0};

  std::vector<std::thread> callers;
  for (int caller = 0; caller < kCallers; ++caller) {
    callers.emplace_back([&, caller] {
      for (int i = 0; i < kJobsPerCaller; ++i) {
        const int job = caller * kJobsPerCaller + i;
        std::lock_guard lock(callers_mutex);
        thread.run([&, job] {
          const int now = ++in_flight;
          int most = most_in_flight.load();
          while (now > most && !most_in_flight.compare_exchange_weak(most, now)) {
          }
          ++runs[job];
          --in_flight;
        });
      }
    });
  }
  for (std::thread& caller : callers) {
    caller.join();
  }
  for (int job = 0; job < kCallers * kJobsPerCaller; ++job) {
    EXPECT_EQ(runs[job], 1) << "job " << job;
  }
  EXPECT_EQ(most_in_flight.load(), 1);
}

}  // namespace
