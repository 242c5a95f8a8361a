#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "crash/crash_translator.h"

// One unit of render-thread work. Jobs take their arguments by reference from the caller's
// stack, which is sound because the caller blocks until the job has run.
using RendererJob = std::function<void()>;

// A dedicated thread that builds a RendererType on itself, runs jobs against it one at a time,
// and destroys it on itself when stopped: every GL and CL object is created, used and released
// on that one thread, whichever host thread asks for the work.
//
// Hand-over: one job slot under the job mutex; completion, the end flag and the error slot
// under the done mutex. The two mutexes are never held together. Callers must not overlap:
// each caller pairs submit with wait (or uses run), and a second submit before the first job
// was taken would replace it. An exception thrown by a job comes back from that caller's
// wait; it also ends the thread for good, after which submit stores jobs nobody runs and wait
// returns at once without error.
//
// The class is a template so that the protocol can be exercised with a renderer that needs
// no GL; the module uses RendererThread (renderer/renderer_thread.h).
template <typename RendererType>
class BasicRendererThread {
 public:
  using Factory = std::function<std::unique_ptr<RendererType>()>;

  // Starts the thread, which builds the renderer with make_renderer (on the render thread),
  // and returns once it is built. Rethrows the exception that building raised.
  explicit BasicRendererThread(Factory make_renderer = [] {
    return std::make_unique<RendererType>();
  }) {
    std::thread([this, make = std::move(make_renderer)]() mutable {
      thread_body(std::move(make));
    }).detach();
    try {
      wait();
    } catch (...) {
      // The thread reports the failure before it lets go of this object.
      wait_until_finished();
      throw;
    }
  }

  // Stops the thread after the job in progress, if any; the renderer is destroyed on the
  // render thread before this returns. Returns at once when the thread already ended.
  ~BasicRendererThread() {
    {
      std::lock_guard lock(job_mutex_);
      stop_ = true;
      job_condition_.notify_one();
    }
    // Not merely a done signal: the thread may still be about to touch this object until it
    // has set finished.
    wait_until_finished();
  }

  BasicRendererThread(const BasicRendererThread&) = delete;
  BasicRendererThread& operator=(const BasicRendererThread&) = delete;

  // Hands a job to the render thread. Throws std::bad_function_call for an empty job, which
  // would otherwise never be taken and leave its caller waiting.
  void submit(RendererJob job) {
    if (!job) {
      throw std::bad_function_call();
    }
    {
      // Cleared here, not in wait: a fast job's error can then never be wiped before its
      // caller has seen it.
      std::lock_guard lock(done_mutex_);
      error_ = nullptr;
    }
    std::lock_guard lock(job_mutex_);
    job_ = std::move(job);
    job_condition_.notify_one();
  }

  // Blocks until the submitted job has run (or the thread has ended) and rethrows the job's
  // exception in the caller.
  void wait() {
    std::unique_lock lock(done_mutex_);
    done_condition_.wait(lock, [this] { return job_done_ || finished_; });
    job_done_ = false;
    if (error_) {
      std::rethrow_exception(error_);
    }
  }

  void run(RendererJob job) {
    submit(std::move(job));
    wait();
  }

  // Runs operation(renderer) on the render thread and waits for it. The operation is taken
  // by reference, so it may capture the caller's locals by reference and write results there.
  template <typename Operation>
  void run_on_renderer(Operation&& operation) {
    run([this, &operation] { operation(*renderer_); });
  }

 private:
  void thread_body(Factory make_renderer) noexcept {
    // A hardware fault in the renderer's construction or in a job becomes a crash report and
    // an exception, which reaches the waiting caller like any other job error.
    install_crash_translator();
    try {
      // The factory is dropped as soon as it has been called, so that whatever it captured is
      // released long before finished is set.
      std::unique_ptr<RendererType> renderer = std::exchange(make_renderer, nullptr)();
      renderer_ = renderer.get();
      report_done();
      serve_jobs();
    } catch (...) {
      std::lock_guard lock(done_mutex_);
      error_ = std::current_exception();
      job_done_ = true;
      done_condition_.notify_all();
    }
    renderer_ = nullptr;
    // The last touch of this object: whoever frees it waits for finished first.
    std::lock_guard lock(done_mutex_);
    finished_ = true;
    done_condition_.notify_all();
  }

  void serve_jobs() {
    for (;;) {
      std::unique_lock lock(job_mutex_);
      job_condition_.wait(lock, [this] { return job_ || stop_; });
      if (stop_) {
        return;
      }
      // Holding the job mutex for the whole job keeps the next submit out until it is over.
      job_();
      job_ = nullptr;
      lock.unlock();
      report_done();
    }
  }

  void report_done() {
    std::lock_guard lock(done_mutex_);
    job_done_ = true;
    done_condition_.notify_all();
  }

  void wait_until_finished() {
    std::unique_lock lock(done_mutex_);
    done_condition_.wait(lock, [this] { return finished_; });
  }

  bool finished_ = false;
  std::mutex done_mutex_;
  std::mutex job_mutex_;
  std::condition_variable done_condition_;
  std::condition_variable job_condition_;
  bool job_done_ = false;
  bool stop_ = false;
  RendererJob job_;
  std::exception_ptr error_;
  RendererType* renderer_ = nullptr;
};
