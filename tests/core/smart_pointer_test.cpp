#include <core/reference_count.h>
#include <core/smart_pointer.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Tal::makeSmart;
using Tal::SafeReferenceCount;
using Tal::SmartPointer;

/// Counts the objects of its kind that exist.
class Counted : public SafeReferenceCount {
 public:
  explicit Counted(int* alive, int value = 0) : value_(value), alive_(alive) { ++*alive_; }
  Counted(const Counted& other) : SafeReferenceCount(other), value_(other.value_), alive_(other.alive_) {
    ++*alive_;
  }
  Counted& operator=(const Counted& other) = default;
  ~Counted() override { --*alive_; }

  int value_;

 private:
  int* alive_;
};

class Derived : public Counted {
 public:
  using Counted::Counted;
};

/// Holds another of its kind, as the nodes of a list do.
class Node : public SafeReferenceCount {
 public:
  SmartPointer<Node> next_;
};

TEST(ASmartPointer, IsNullByDefault) {
  const SmartPointer<Counted> pointer;
  EXPECT_FALSE(pointer);
  EXPECT_EQ(pointer.get(), nullptr);
  EXPECT_EQ(pointer, nullptr);
}

TEST(ASmartPointer, OfNullHoldsNothing) {
  const SmartPointer<Counted> fromLiteral(nullptr);
  const SmartPointer<Counted> fromPointer(static_cast<Counted*>(nullptr));
  EXPECT_EQ(fromLiteral, nullptr);
  EXPECT_EQ(fromPointer, nullptr);
}

TEST(ASmartPointer, HoldsOneReferenceAndDeletesWithTheLast) {
  int alive = 0;
  {
    const SmartPointer<Counted> first = makeSmart<Counted>(&alive);
    EXPECT_EQ(first->refCount(), 1U);
    {
      const SmartPointer<Counted> second = first;  // NOLINT(performance-unnecessary-copy-initialization)
      EXPECT_EQ(first->refCount(), 2U);
      EXPECT_EQ(second, first);
    }
    EXPECT_EQ(first->refCount(), 1U);
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

TEST(ASmartPointer, GivesItsReferenceAwayWhenMoved) {
  int alive = 0;
  SmartPointer<Counted> from = makeSmart<Counted>(&alive);
  const SmartPointer<Counted> to = std::move(from);
  EXPECT_EQ(from, nullptr);  // NOLINT(bugprone-use-after-move): null is the promise
  EXPECT_EQ(to->refCount(), 1U);
}

TEST(ASmartPointer, DropsWhatItHeldWhenAssigned) {
  int alive = 0;
  SmartPointer<Counted> pointer = makeSmart<Counted>(&alive, 1);
  pointer = makeSmart<Counted>(&alive, 2);
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(pointer->value_, 2);
  pointer = nullptr;
  EXPECT_EQ(alive, 0);
}

TEST(ASmartPointer, SurvivesAssignmentToItself) {
  int alive = 0;
  SmartPointer<Counted> pointer = makeSmart<Counted>(&alive, 3);
  SmartPointer<Counted>& same = pointer;
  pointer = same;
  EXPECT_EQ(pointer->value_, 3);
  EXPECT_EQ(pointer->refCount(), 1U);
  pointer = std::move(same);
  EXPECT_EQ(pointer->value_, 3);
  EXPECT_EQ(alive, 1);
}

TEST(ASmartPointer, MayBeAssignedFromInsideTheObjectThatItHolds) {
  SmartPointer<Node> head = makeSmart<Node>();
  head->next_ = makeSmart<Node>();
  Node* const second = head->next_.get();
  head = head->next_;  // deletes the first node, and with it the pointer that is assigned from
  EXPECT_EQ(head.get(), second);
  EXPECT_EQ(head->refCount(), 1U);
}

TEST(ASmartPointer, ConvertsToAPointerToTheBase) {
  int alive = 0;
  {
    const SmartPointer<Derived> derived = makeSmart<Derived>(&alive);
    const SmartPointer<Counted> base = derived;
    const SmartPointer<const Counted> constant = base;
    EXPECT_EQ(base.get(), derived.get());
    EXPECT_EQ(derived->refCount(), 3U);
    EXPECT_EQ(constant->refCount(), 3U);
  }
  EXPECT_EQ(alive, 0);
}

TEST(ASmartPointer, ConvertsNeitherToAnUnrelatedTypeNorToTheDerivedOne) {
  EXPECT_FALSE((std::is_convertible_v<SmartPointer<Counted>, SmartPointer<Node>>));
  EXPECT_FALSE((std::is_convertible_v<SmartPointer<Counted>, SmartPointer<Derived>>));
  EXPECT_FALSE((std::is_convertible_v<SmartPointer<const Counted>, SmartPointer<Counted>>));
}

TEST(ASmartPointer, ComparesByTheObjectAndNotByItsValue) {
  int alive = 0;
  const SmartPointer<Counted> first = makeSmart<Counted>(&alive, 1);
  const SmartPointer<Counted> equalValue = makeSmart<Counted>(&alive, 1);
  EXPECT_NE(first, equalValue);
  EXPECT_EQ(first, SmartPointer<Counted>(first.get()));
}

TEST(ASmartPointer, ComparesWithAPlainPointerWithoutTouchingTheObject) {
  int alive = 0;
  const auto unheld = std::make_unique<Counted>(&alive);
  const SmartPointer<Counted> pointer = makeSmart<Counted>(&alive);
  EXPECT_TRUE(pointer == pointer.get());
  EXPECT_FALSE(pointer == unheld.get());
  ASSERT_EQ(alive, 2) << "comparing must not take the object's first reference and drop it again";
  EXPECT_EQ(unheld->refCount(), 0U);
}

TEST(AReferenceCount, StartsAtZero) {
  int alive = 0;
  auto* const object = new Counted(&alive);
  EXPECT_EQ(object->refCount(), 0U);
  object->incRef();
  EXPECT_EQ(object->refCount(), 1U);
  object->decRef();
  EXPECT_EQ(alive, 0);
}

TEST(AReferenceCount, IsNotCopiedWithTheObject) {
  int alive = 0;
  const SmartPointer<Counted> original = makeSmart<Counted>(&alive, 1);
  const SmartPointer<Counted> second = original;  // NOLINT(performance-unnecessary-copy-initialization)
  const SmartPointer<Counted> copy = makeSmart<Counted>(*original);
  EXPECT_EQ(original->refCount(), 2U);
  EXPECT_EQ(copy->refCount(), 1U);
}

TEST(AReferenceCount, IsNotAssignedWithTheObject) {
  int alive = 0;
  const SmartPointer<Counted> original = makeSmart<Counted>(&alive, 1);
  const SmartPointer<Counted> target = makeSmart<Counted>(&alive, 2);
  const SmartPointer<Counted> second = target;  // NOLINT(performance-unnecessary-copy-initialization)
  *target = *original;
  EXPECT_EQ(target->value_, 1);
  EXPECT_EQ(target->refCount(), 2U);
  EXPECT_EQ(original->refCount(), 1U);
}

TEST(AReferenceCount, DeletesExactlyOnceWhenThreadsDropTogether) {
  int alive = 0;
  constexpr int kThreads = 4;
  constexpr int kRounds = 10'000;
  {
    std::vector<std::thread> threads;
    const SmartPointer<Counted> shared = makeSmart<Counted>(&alive);
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([mine = shared] {
        for (int round = 0; round < kRounds; ++round) {
          const SmartPointer<Counted> copy = mine;  // NOLINT(performance-unnecessary-copy-initialization)
          EXPECT_GE(copy->refCount(), 2U);
        }
      });
    }
    for (auto& thread : threads) thread.join();
    threads.clear();
    EXPECT_EQ(shared->refCount(), 1U);
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

}  // namespace
