#include "recording_listener.h"

#include <resources/monitoring/resource_modification_notifier.h>
#include <watch/change_collector.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

namespace {

using Tal::ResourceModificationNotifier;
using Tal::watch::ResourceChange;
using testing::ElementsAre;
using testing::IsEmpty;
using Action = Tal::watch::Action;

std::vector<ResourceChange> changesOf(const std::vector<std::string>& names) {
  std::vector<ResourceChange> changes;
  for (const std::string& name : names) changes.push_back({"/root", name, Action::modified, false});
  return changes;
}

TEST(ADelivery, ReachesTheListenersInTheOrderOfTheirRegistration) {
  std::vector<std::string> order;
  RecordingListener first;
  RecordingListener second;
  first.onCall = [&] { order.emplace_back("first"); };
  second.onCall = [&] { order.emplace_back("second"); };
  ResourceModificationNotifier notifier;
  notifier.add(&first);
  notifier.add(&second);
  notifier.add(&first);
  notifier.deliver(changesOf({"a", "b"}));
  EXPECT_THAT(order, ElementsAre("first", "second", "first", "second"));
}

TEST(ADelivery, DoesNotReachAListenerThatIsTakenOutMeanwhile) {
  RecordingListener first;
  RecordingListener second;
  ResourceModificationNotifier notifier;
  first.onCall = [&] { notifier.remove(&second); };
  notifier.add(&first);
  notifier.add(&second);
  notifier.deliver(changesOf({"a"}));
  EXPECT_THAT(first.calls, ElementsAre("modified a"));
  EXPECT_THAT(second.calls, IsEmpty());
}

TEST(ADelivery, SurvivesAListenerThatTakesItselfOut) {
  RecordingListener first;
  RecordingListener second;
  ResourceModificationNotifier notifier;
  first.onCall = [&] { notifier.remove(&first); };
  notifier.add(&first);
  notifier.add(&second);
  notifier.deliver(changesOf({"a", "b"}));
  EXPECT_THAT(first.calls, ElementsAre("modified a"));
  EXPECT_THAT(second.calls, ElementsAre("modified a", "modified b"));
}

TEST(ADelivery, DoesNotReachAListenerThatIsAddedMeanwhile) {
  RecordingListener first;
  RecordingListener second;
  ResourceModificationNotifier notifier;
  first.onCall = [&] { notifier.add(&second); };
  notifier.add(&first);
  notifier.deliver(changesOf({"a", "b"}));
  EXPECT_THAT(second.calls, IsEmpty());
  notifier.deliver(changesOf({"c"}));
  EXPECT_THAT(second.calls, ElementsAre("modified c"));
}

TEST(ADelivery, PassesOverANullThatWasAdded) {
  RecordingListener listener;
  ResourceModificationNotifier notifier;
  notifier.add(nullptr);
  notifier.add(&listener);
  notifier.remove(nullptr);
  notifier.deliver(changesOf({"a"}));
  EXPECT_THAT(listener.calls, ElementsAre("modified a"));
}

TEST(ADelivery, DoesNotTakeANewListenerForOneThatLeftTheSamePlace) {
  alignas(RecordingListener) std::byte place[sizeof(RecordingListener)];
  auto* second = new (place) RecordingListener;
  RecordingListener first;
  ResourceModificationNotifier notifier;
  notifier.add(&first);
  notifier.add(second);
  first.onCall = [&] {
    notifier.remove(second);
    second->~RecordingListener();
    second = new (place) RecordingListener;
    notifier.add(second);
    first.onCall = [] {};
  };
  notifier.deliver(changesOf({"a", "b"}));
  EXPECT_THAT(second->calls, IsEmpty());
  second->~RecordingListener();
}

TEST(ADelivery, MayBeMadeFromWithinOne) {
  RecordingListener listener;
  ResourceModificationNotifier notifier;
  notifier.add(&listener);
  listener.onCall = [&] {
    listener.onCall = [] {};
    notifier.deliver(changesOf({"inner"}));
  };
  notifier.deliver(changesOf({"outer"}));
  EXPECT_THAT(listener.calls, ElementsAre("modified outer", "modified inner"));
}

class HookListener : public Tal::ResourceModificationListener {
 public:
  std::vector<std::string> calls;

 protected:
  void onResourceModified(const Tal::BasicStringRef& /*basePath*/, const Tal::BasicStringRef& name,
                          Action /*action*/) override {
    calls.emplace_back(name);
  }
  void onTriggerTaskQueue() override { calls.emplace_back("begin"); }
  void onTaskQueueEmpty() override { calls.emplace_back("end"); }
};

TEST(ADelivery, IsFramedByItsHooksAndNoneIsMadeOfNothing) {
  HookListener listener;
  ResourceModificationNotifier notifier;
  notifier.add(&listener);
  notifier.deliver({});
  EXPECT_THAT(listener.calls, IsEmpty());
  notifier.deliver(changesOf({"a", "b"}));
  EXPECT_THAT(listener.calls, ElementsAre("begin", "a", "b", "end"));
}

std::vector<std::string> taken(Tal::watch::ChangeCollector& collector) {
  std::vector<std::string> lines;
  const std::vector<std::string> verbs = {"added ", "modified ", "removed "};
  for (const ResourceChange& change : collector.take())
    lines.push_back(verbs.at(static_cast<std::size_t>(change.action)) + change.basePath + ':' +
                    change.resourceName);
  return lines;
}

TEST(TheCollector, MakesOneChangeOfWhatHappensToAResource) {
  Tal::watch::ChangeCollector collector({"/one", "/two"});
  collector.noteModified(1, "b");
  collector.noteAdded(0, "z");
  collector.noteRemoved(0, "a");
  collector.noteAdded(0, "a");
  collector.noteModified(0, "z");
  collector.noteAdded(0, "passing");
  collector.noteRemoved(0, "passing");
  collector.noteModified(0, "gone");
  collector.noteRemoved(0, "gone");
  EXPECT_THAT(taken(collector),
              ElementsAre("modified /one:a", "removed /one:gone", "added /one:z", "modified /two:b"));
  EXPECT_THAT(taken(collector), IsEmpty());
}

TEST(TheCollector, KeepsADoubtAboutAResource) {
  Tal::watch::ChangeCollector collector({"/one"});
  constexpr bool kIsDoubtful = true;
  collector.noteModified(0, "a", kIsDoubtful);
  collector.noteModified(0, "a");
  collector.noteModified(0, "b");
  const std::vector<ResourceChange> changes = collector.take();
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_TRUE(changes[0].isDoubtful);
  EXPECT_FALSE(changes[1].isDoubtful);
}

TEST(TheCollector, TellsOfTheFirstProblemOnce) {
  Tal::watch::ChangeCollector collector({"/one"});
  EXPECT_EQ(collector.takeProblem(), "");
  collector.noteProblem("first");
  collector.noteProblem("second");
  EXPECT_EQ(collector.takeProblem(), "first");
  collector.noteProblem("third");
  EXPECT_EQ(collector.takeProblem(), "");
}

}  // namespace
