#include "base/message_loop/run_on_loop.h"

#include <utility>

#include "base/location.h"
#include "base/synchronization/waitable_event.h"

namespace base {

void RunOnLoopAndWait(std::mutex* loop_lock,
                      const std::atomic<MessageLoop*>* loop,
                      MessageLoop::Task task) {
  WaitableEvent done(true, false);
  bool posted = false;
  {
    std::lock_guard<std::mutex> lock(*loop_lock);
    MessageLoop* target = loop->load();
    if (target && MessageLoop::current() != target) {
      posted = target->PostTask(FROM_HERE, [&task, &done] {
        task();
        done.Signal();
      });
    }
  }
  if (posted)
    done.Wait();
  else
    task();
}

}  // namespace base
