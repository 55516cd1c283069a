#include "tools/bidictl/platform/queue_store.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace custom_bidi_tools {
namespace {

/// How many of the tests' queues there were.
int RemoveAll() {
  int removed = 0;
  for (const auto& queue : ListQueues()) {
    if (queue.name.starts_with("bidictl-test")) {
      RemoveQueue(queue.name);
      ++removed;
    }
  }
  return removed;
}

TEST(QueueStore, TakesOnlyWhatAQueueCanHaveAndLosesNothing) {
  RemoveAll();
  for (const char* name : {"bidictl-test\\x", "bidictl-test\n", "bidictl-test\x7F", "bidictl-test\xFF"}) {
    EXPECT_THROW(AddQueue(name, "192.0.2.10"), QueueError) << name;
  }
  for (const char* port : {"a\rb", "\xC3"}) {
    EXPECT_THROW(AddQueue("bidictl-test", port), QueueError) << port;
  }
  std::vector<std::jthread> threads;
  for (const char* thread : {"0", "1", "2", "3"}) {
    threads.emplace_back([thread] {
      for (const char* queue : {"-0", "-1", "-2", "-3", "-4"}) {
        AddQueue(std::string("bidictl-test ") + thread + queue, "192.0.2.10");
      }
    });
  }
  threads.clear();
  EXPECT_EQ(RemoveAll(), 4 * 5);
}

}  // namespace
}  // namespace custom_bidi_tools
