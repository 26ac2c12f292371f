// Runs a task on a loop's thread and waits for it: how an object that lives on an I/O thread
// is closed from any thread.

#ifndef BASE_MESSAGE_LOOP_RUN_ON_LOOP_H_
#define BASE_MESSAGE_LOOP_RUN_ON_LOOP_H_

#include <atomic>
#include <mutex>

#include "base/message_loop/message_loop.h"

namespace base {

// Runs |task| on the thread of the loop that |*loop| names and waits until it has run. The
// caller's object keeps |*loop| valid by clearing it under |*loop_lock| before the loop can
// go away, so the task is posted while |*loop_lock| is held. When the calling thread is the
// loop's, or |*loop| is null, or the loop runs nothing more, |task| runs here instead.
void RunOnLoopAndWait(std::mutex* loop_lock,
                      const std::atomic<MessageLoop*>* loop,
                      MessageLoop::Task task);

}  // namespace base

#endif  // BASE_MESSAGE_LOOP_RUN_ON_LOOP_H_
