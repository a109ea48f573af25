#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mio/object.h>
#include <mio/record_signal.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using ks::Connection;
using mio::RecordSignal;
using mio::SetterFlags;

/// A record as the database holds it.
struct Record : mio::Object {
  int health = 0;
  RecordSignal<void(SetterFlags)> changed;
  RecordSignal<void()> hardPointChanged;
};

TEST(ARecordSignal, CallsItsSlotsWithTheFlags) {
  const Record record;
  Record target;
  std::vector<SetterFlags> seen;
  const Connection connection = target.changed.connect([&seen](SetterFlags flags) { seen.push_back(flags); });
  target.changed(SetterFlags::none);
  target.changed(static_cast<SetterFlags>(5));
  record.changed(SetterFlags::none);
  EXPECT_THAT(seen, testing::ElementsAre(SetterFlags::none, static_cast<SetterFlags>(5)));
}

TEST(ARecordSignal, CostsOnePointer) {
  EXPECT_EQ(sizeof(RecordSignal<void()>), sizeof(void*));
}

TEST(ACopyOfARecord, HasNoneOfTheConnections) {
  Record original;
  original.health = 80;
  int calls = 0;
  const Connection connection = original.hardPointChanged.connect([&calls] { ++calls; });
  const Record copy(original);  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(copy.health, 80);
  copy.hardPointChanged();
  EXPECT_EQ(calls, 0);
  original.hardPointChanged();
  EXPECT_EQ(calls, 1);
}

TEST(ACopyOfARecord, DoesNotEndTheConnectionsWhenItIsDestroyed) {
  Record original;
  const Connection connection = original.hardPointChanged.connect([] {});
  { const Record copy(original); }  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_TRUE(connection.connected());
}

TEST(ACopyOfARecord, IsAlsoMadeByAMove) {
  Record original;
  original.health = 80;
  const Connection connection = original.hardPointChanged.connect([] {});
  const Record moved(std::move(original));  // NOLINT(performance-move-const-arg)
  EXPECT_EQ(moved.health, 80);
  EXPECT_TRUE(connection.connected()) << "the slot stays with the record that it was connected to";
}

TEST(ARecordThatIsAssigned, KeepsItsOwnConnections) {
  Record target;
  Record source;
  source.health = 20;
  int targetCalls = 0;
  int sourceCalls = 0;
  const Connection toTarget = target.hardPointChanged.connect([&targetCalls] { ++targetCalls; });
  const Connection toSource = source.hardPointChanged.connect([&sourceCalls] { ++sourceCalls; });
  target = source;
  EXPECT_EQ(target.health, 20);
  target.hardPointChanged();
  EXPECT_EQ(targetCalls, 1);
  EXPECT_EQ(sourceCalls, 0);
  source.hardPointChanged();
  EXPECT_EQ(sourceCalls, 1);
  target = std::move(source);
  EXPECT_TRUE(toTarget.connected());
  EXPECT_TRUE(toSource.connected());
}

TEST(ARecordThatIsAssigned, ToItselfKeepsItsConnections) {
  Record record;
  const Connection connection = record.hardPointChanged.connect([] {});
  const Record& same = record;
  record = same;
  EXPECT_TRUE(connection.connected());
}

TEST(ARecordThatIsAssigned, RaisesNothing) {
  Record target;
  int calls = 0;
  const Connection connection = target.changed.connect([&calls](SetterFlags) { ++calls; });
  Record source;
  source.health = 1;
  target = source;
  EXPECT_EQ(calls, 0);
}

TEST(ARecordInAMap, EndsItsConnectionsWhenItIsErased) {
  std::map<std::string, Record> records;
  Connection connection = records["house.model"].hardPointChanged.connect([] {});
  records["gate.model"].health = 5;
  EXPECT_TRUE(connection.connected());
  records.erase("house.model");
  EXPECT_FALSE(connection.connected());
  connection.disconnect();
}

TEST(ARecordInAMap, KeepsItsConnectionsWhenItsValueIsReplaced) {
  std::map<std::string, Record> records;
  int calls = 0;
  const Connection connection = records["house.model"].hardPointChanged.connect([&calls] { ++calls; });
  records["house.model"] = Record();
  records.insert_or_assign("house.model", Record());
  records["house.model"].hardPointChanged();
  EXPECT_EQ(calls, 1);
}

}  // namespace
