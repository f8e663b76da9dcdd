// What is answered where the system does not tell, and where it tells something else than
// here.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "QVRSystemInfo.h"
#include "QVRTraceLog.h"
#include "support/AllocationRefuser.h"
#include "support/PlatformAnswer.h"
#include "support/PlatformPlan.h"
#include "support/ScopedEnvironment.h"

namespace {

TEST(QVRSystemInfoFailureTest, TextThatCannotBeHadIsAWord) {
  const struct {
    const char* function;
    std::string (*ask)() noexcept;
    const char* word;
  } cases[] = {
      {"hostName", &QVRSystemInfo::GetHostName, "UNKNOWN"},
      {"loginName", &QVRSystemInfo::GetLoginName, "UKNOWN"},
      {"processorDescription", &QVRSystemInfo::GetProcessorVendor, "UNKNOWN"},
      {"processorDescription", &QVRSystemInfo::GetProcessorModel, "0"},
      {"systemRelease", &QVRSystemInfo::GetOSReleaseLevel, "UNKNOWN"},
      {"systemRelease", &QVRSystemInfo::GetOSMajorLevel, "UNKNOWN"},
      {"systemRelease", &QVRSystemInfo::GetOSMinorLevel, "UNKNOWN"},
  };
  for (const auto& c : cases) {
    for (const int error : {EPERM, ENOENT, EIO, ENOMEM}) {
      const PlatformPlan plan(c.function, error);
      EXPECT_EQ(c.ask(), c.word) << c.function;
      EXPECT_EQ(plan.calls(), 1u) << c.function;
    }
  }
}

TEST(QVRSystemInfoFailureTest, NumberThatCannotBeHadIsZero) {
  const PlatformPlan processors("processorCount", ENOSYS);
  const PlatformPlan pages("pageSize", EINVAL);
  const PlatformPlan physical("physicalMemory", EFAULT);
  const PlatformPlan space("addressSpace", EINVAL);

  EXPECT_EQ(QVRSystemInfo::GetProcessorCount(), 0u);
  EXPECT_EQ(QVRSystemInfo::GetSystemPageSize(), 0u);
  EXPECT_EQ(QVRSystemInfo::GetPhysicalMemorySize(), 0);
  EXPECT_EQ(QVRSystemInfo::GetVirtualMemorySize(), 0);
}

TEST(QVRSystemInfoFailureTest, EveryCallAsksAnew) {
  for (const char* name : {"first", "second"}) {
    const PlatformAnswer answer("hostName", name);
    EXPECT_EQ(QVRSystemInfo::GetHostName(), name);
  }
  for (const std::uint64_t size : {4096u, 65536u}) {
    const PlatformAnswer answer("pageSize", size);
    EXPECT_EQ(QVRSystemInfo::GetSystemPageSize(), size);
  }
}

TEST(QVRSystemInfoFailureTest, NamesMayFillTheBuffer) {
  const std::string longest(1023, 'n');
  const std::string tooLong(1024, 'n');
  {
    const PlatformAnswer host("hostName", longest);
    const PlatformAnswer login("loginName", longest);
    EXPECT_EQ(QVRSystemInfo::GetHostName(), longest);
    EXPECT_EQ(QVRSystemInfo::GetLoginName(), longest);
  }
  const PlatformAnswer host("hostName", tooLong);
  const PlatformAnswer login("loginName", tooLong);
  EXPECT_EQ(QVRSystemInfo::GetHostName(), "UNKNOWN");
  EXPECT_EQ(QVRSystemInfo::GetLoginName(), "UKNOWN");
}

TEST(QVRSystemInfoFailureTest, ReleaseHasThreeNumbers) {
  const struct {
    const char* release;
    const char* level;
    const char* major;
    const char* minor;
  } cases[] = {
      {"6.1.7601", "6.1.7601", "6", "1"},
      {"6.1.0-18-amd64", "6.1.0", "6", "1"},
      {"5.10.0.4", "5.10.0", "5", "10"},
      {"5.10-rc3", "5.10.0", "5", "10"},
      {"4", "4.0.0", "4", "0"},
      {"4.", "4.0.0", "4", "0"},
      {"", "0.0.0", "0", "0"},
      {"unknown", "0.0.0", "0", "0"},
      {"2147483647.2147483647.2147483647", "2147483647.2147483647.2147483647", "2147483647",
       "2147483647"},
      {"99999999999.2.3", "0.2.3", "0", "2"},
  };
  for (const auto& c : cases) {
    const PlatformAnswer answer("systemRelease", c.release);
    EXPECT_EQ(QVRSystemInfo::GetOSReleaseLevel(), c.level) << c.release;
    EXPECT_EQ(QVRSystemInfo::GetOSMajorLevel(), c.major) << c.release;
    EXPECT_EQ(QVRSystemInfo::GetOSMinorLevel(), c.minor) << c.release;
  }
}

TEST(QVRSystemInfoFailureTest, ProcessorIsReadFromItsDescription) {
  const struct {
    const char* description;
    const char* vendor;
    const char* model;
  } cases[] = {
      {"processor\t: 0\nvendor_id\t: GenuineIntel\nmodel\t\t: 143\nmodel name\t: X 9\n",
       "GenuineIntel", "143"},
      {"vendor_id\t: AuthenticAMD\nmodel name\t: X 9\nmodel\t\t: 8\n\nmodel\t\t: 9\n",
       "AuthenticAMD", "8"},
      {"vendor_id : One and only \nmodel: 007", "One and only", "7"},
      {"processor\t: 0\nCPU implementer\t: 0x41\n", "UNKNOWN", "0"},
      {"vendor_id\t:\nmodel\t\t: new\n", "UNKNOWN", "0"},
      {"vendor_id\nmodel", "UNKNOWN", "0"},
      {"my vendor_id : X\nmodels : 5\n", "UNKNOWN", "0"},
      {"flags\t: vendor_id: model: 5\n", "UNKNOWN", "0"},
      {"", "UNKNOWN", "0"},
      {"\n\n:\n", "UNKNOWN", "0"},
  };
  for (const auto& c : cases) {
    const PlatformAnswer answer("processorDescription", c.description);
    EXPECT_EQ(QVRSystemInfo::GetProcessorVendor(), c.vendor) << c.description;
    EXPECT_EQ(QVRSystemInfo::GetProcessorModel(), c.model) << c.description;
  }
}

TEST(QVRSystemInfoFailureTest, MemoryIsCutTo32BitsOfKiB) {
  const struct {
    std::uint64_t bytes;
    std::int32_t kiB;
  } cases[] = {
      {0, 0},
      {1023, 0},
      {1024, 1},
      {std::uint64_t{16} << 30, 16777216},
      {(std::uint64_t{2} << 40) - 1, 2147483647},
      {std::uint64_t{2} << 40, -2147483647 - 1},
      {(std::uint64_t{4} << 40) + 5120, 5},
      {(std::uint64_t{1} << 47) - 4096, -4},
      {~std::uint64_t{0}, -1},
  };
  for (const auto& c : cases) {
    const PlatformAnswer physical("physicalMemory", c.bytes);
    const PlatformAnswer space("addressSpace", c.bytes);
    EXPECT_EQ(QVRSystemInfo::GetPhysicalMemorySize(), c.kiB) << c.bytes;
    EXPECT_EQ(QVRSystemInfo::GetVirtualMemorySize(), c.kiB) << c.bytes;
  }
}

TEST(QVRSystemInfoFailureTest, LackOfMemoryIsNoReasonToThrow) {
  const std::string longText(100, 't');
  const ScopedEnvironment domain("USERDOMAIN", longText.c_str());
  const PlatformAnswer host("hostName", longText);
  const PlatformAnswer processor("processorDescription", "vendor_id : " + longText);
  const PlatformAnswer release("systemRelease", "2147483647.2147483647.2147483647");
  const struct {
    std::string (*ask)() noexcept;
    const char* word;
  } cases[] = {
      {&QVRSystemInfo::GetHostName, "UNKNOWN"},
      {&QVRSystemInfo::GetLoginName, "UKNOWN"},  // the entry's storage
      {&QVRSystemInfo::GetDomainName, ""},
      {&QVRSystemInfo::GetProcessorVendor, "UNKNOWN"},
      {&QVRSystemInfo::GetOSReleaseLevel, "UNKNOWN"},
  };
  for (const auto& c : cases) {
    const AllocationRefuser refuser(1);
    const std::string answer = c.ask();
    EXPECT_TRUE(refuser.hasRefused());
    EXPECT_EQ(answer, c.word);
  }
}

TEST(QVRSystemInfoFailureTest, DetailsWithoutMemoryLeaveTheFormatAlone) {
  const std::string before = QVRSystemTrace.GetFormat();
  const std::string format = "a format longer than a short string";
  for (std::size_t number = 1;; ++number) {
    QVRSystemTrace.SetFormat(format);
    bool refused = false;
    {
      const AllocationRefuser refuser(number);
      QVRSystemInfo::PrintDetails();
      refused = refuser.hasRefused();
    }
    EXPECT_EQ(QVRSystemTrace.GetFormat(), format) << number;
    if (!refused) break;
  }
  QVRSystemTrace.SetFormat(before);
}

}  // namespace
