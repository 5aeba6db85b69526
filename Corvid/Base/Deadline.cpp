#include "Base/Deadline.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace corvid {

Deadline::Deadline(std::chrono::milliseconds time, std::function<void()> missed)
    : thread_([time, missed = std::move(missed)](const std::stop_token &stop) {
          std::mutex mutex;
          std::condition_variable_any lifted;
          std::unique_lock lock(mutex);
          lifted.wait_for(lock, stop, time, [] { return false; });
          if (!stop.stop_requested())
              missed();
      }) {}

} // namespace corvid
