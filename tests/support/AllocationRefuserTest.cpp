// That memory is refused where it should be, and nowhere else.
#include "support/AllocationRefuser.h"

#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "support/ScopedLocale.h"

namespace {

// Here and below through a volatile pointer: compilers may leave out an
// allocation whose memory nobody looks at.
void allocateAndFree() {
  void* volatile memory = ::operator new(8);
  ::operator delete(memory);
}

TEST(AllocationRefuserTest, RefusesOnlyTheAllocationOfThatNumber) {
  const AllocationRefuser refuser(2);

  allocateAndFree();
  EXPECT_FALSE(refuser.hasRefused());
  EXPECT_THROW(allocateAndFree(), std::bad_alloc);
  EXPECT_TRUE(refuser.hasRefused());
  EXPECT_NO_THROW(allocateAndFree());
}

TEST(AllocationRefuserTest, RefusesEveryForm) {
  struct alignas(64) Aligned {
    char bytes[64];
  };
  const auto refusedNext = [](auto allocate) {
    const AllocationRefuser refuser(1);
    try {
      void* volatile memory = allocate();
      return memory == nullptr;
    } catch (const std::bad_alloc&) {
      return true;
    }
  };

  EXPECT_TRUE(refusedNext([] { return ::operator new(1); }));
  EXPECT_TRUE(refusedNext([] { return ::operator new[](1); }));
  EXPECT_TRUE(refusedNext([] { return ::operator new(1, std::nothrow); }));
  EXPECT_TRUE(refusedNext([] { return ::operator new[](1, std::nothrow); }));
  EXPECT_TRUE(refusedNext([] { return new Aligned; }));
  EXPECT_TRUE(refusedNext([] { return new Aligned[2]; }));
  EXPECT_TRUE(refusedNext([] { return new (std::nothrow) Aligned; }));
  EXPECT_TRUE(refusedNext([] { return new (std::nothrow) Aligned[2]; }));
}

TEST(AllocationRefuserTest, OtherThreadsGetTheirMemory) {
  std::size_t allocations = 0;
  {
    const AllocationRefuser refuser(2);  // the first is what starting a thread takes
    std::thread other([&] {
      for (; allocations < 3; ++allocations) allocateAndFree();
    });
    other.join();
  }

  EXPECT_EQ(allocations, 3u);
}

TEST(AllocationRefuserTest, EachAllocationOfTheLibrariesIsRefusedInTurn) {
  int after = 0;

  const std::size_t refusals = refuseEachAllocation(
      [] {
        const std::string first(100, 'x');
        const auto second = std::make_unique<std::string>(first);
        EXPECT_EQ(*second, first);
      },
      [&] { ++after; });

  EXPECT_EQ(refusals, 3u);
  EXPECT_EQ(after, 3);
}

TEST(ScopedLocaleTest, SwitchesToEveryLocaleThatIsBuiltAndBack) {
  for (const char* name : {"C", "C.UTF-8", "de_DE.ISO-8859-1", "de_DE.UTF-8", "en_US.UTF-8",
                           "ja_JP.EUC-JP", "tr_TR.UTF-8", "zh_CN.GB18030", "zh_HK.BIG5-HKSCS"}) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    {
      const ScopedLocale locale(name);
      EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), name);
    }
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
  }
}

TEST(AllocationObserverTest, TellsTheSizesOfItsScopeButItsOwn) {
  std::vector<std::size_t> sizes;
  {
    const AllocationObserver observer([&](std::size_t size) { sizes.push_back(size); });
    allocateAndFree();
    const std::string text(100, 'x');
  }
  allocateAndFree();

  EXPECT_EQ(sizes, (std::vector<std::size_t>{8, 101}));
}

}  // namespace
