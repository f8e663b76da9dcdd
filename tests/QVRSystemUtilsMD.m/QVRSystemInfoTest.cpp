// What the library says of this machine, against what the system says elsewhere.
#include "QVRSystemInfo.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "QVRTraceLog.h"
#include "support/ForkedChild.h"
#include "support/ScopedEnvironment.h"
#include "support/TraceRecorder.h"

namespace {

/// What stands behind the name in the description of the first processor.
std::string describedProcessor(const std::string& name) {
  std::ifstream description("/proc/cpuinfo");
  for (std::string line; std::getline(description, line);) {
    if (line.starts_with(name + "\t")) return line.substr(line.find(": ") + 2);
  }
  return "";
}

std::string orWord(const std::string& text, const char* word) { return text.empty() ? word : text; }

TEST(QVRSystemInfoTest, HostNameIsTheNodeName) {
  utsname system;
  ASSERT_EQ(uname(&system), 0);

  EXPECT_EQ(QVRSystemInfo::GetHostName(), system.nodename);
}

TEST(QVRSystemInfoTest, LoginNameIsThatInTheUserDatabase) {
  const passwd* const user = getpwuid(geteuid());

  EXPECT_EQ(QVRSystemInfo::GetLoginName(), user != nullptr ? user->pw_name : "UKNOWN");
}

TEST(QVRSystemInfoTest, LoginNameIsThatOfTheEffectiveUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can take the part of another user";
  const passwd* const other = getpwnam("nobody");
  ASSERT_NE(other, nullptr);
  constexpr uid_t kUserWithoutEntry = 3'000'000'001;

  const uid_t nobody = other->pw_uid;
  EXPECT_EQ(exitStatusOfFork([=] {
              if (seteuid(nobody) != 0) return 1;
              return QVRSystemInfo::GetLoginName() == "nobody" ? 0 : 2;
            }),
            0);
  EXPECT_EQ(exitStatusOfFork([=] {
              if (seteuid(kUserWithoutEntry) != 0) return 1;
              return QVRSystemInfo::GetLoginName() == "UKNOWN" ? 0 : 2;
            }),
            0);
}

TEST(QVRSystemInfoTest, DomainNameIsThatOfTheEnvironment) {
  const std::string longName(5000, 'd');
  for (const char* name : {"PLANT", "", longName.c_str()}) {
    const ScopedEnvironment domain("USERDOMAIN", name);
    EXPECT_EQ(QVRSystemInfo::GetDomainName(), name);
  }
  const ScopedEnvironment none("USERDOMAIN", nullptr);
  EXPECT_EQ(QVRSystemInfo::GetDomainName(), "");
}

TEST(QVRSystemInfoTest, ProcessorIsTheFirstThatIsDescribed) {
  EXPECT_EQ(QVRSystemInfo::GetProcessorVendor(),
            orWord(describedProcessor("vendor_id"), "UNKNOWN"));
  EXPECT_EQ(QVRSystemInfo::GetProcessorModel(), orWord(describedProcessor("model"), "0"));
}

TEST(QVRSystemInfoTest, ProcessorsCountThatTheCallerMayNotUse) {
  const auto online = static_cast<std::uint64_t>(sysconf(_SC_NPROCESSORS_ONLN));
  EXPECT_EQ(QVRSystemInfo::GetProcessorCount(), online);

  std::thread([&] {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    EXPECT_EQ(QVRSystemInfo::GetProcessorCount(), online);
  }).join();
}

TEST(QVRSystemInfoTest, MemoryIsToldInPagesAndKiB) {
  const auto pageSize = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  const auto pages = static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES));

  EXPECT_EQ(QVRSystemInfo::GetSystemPageSize(), pageSize);
  EXPECT_EQ(QVRSystemInfo::GetPhysicalMemorySize(),
            static_cast<std::int32_t>(static_cast<std::uint32_t>(pages * pageSize / 1024)));
}

TEST(QVRSystemInfoTest, VirtualMemoryIsTheLimitOfTheProcess) {
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
  constexpr rlim_t kLimit = (rlim_t{64} << 30) + 1023;
  if (before.rlim_max < kLimit) GTEST_SKIP() << "the limit cannot be raised to that of this test";
  const rlimit limit{kLimit, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);

  const std::int32_t limited = QVRSystemInfo::GetVirtualMemorySize();
  setrlimit(RLIMIT_AS, &before);

  EXPECT_EQ(limited, 67108864);
#if defined(__x86_64__)
  if (before.rlim_cur == RLIM_INFINITY) {
    EXPECT_EQ(QVRSystemInfo::GetVirtualMemorySize(), -4) << "(2^47 - 4096) / 1024 cut to 32 bits";
  }
#endif
}

TEST(QVRSystemInfoTest, ReleaseIsThatOfTheKernel) {
  utsname system;
  ASSERT_EQ(uname(&system), 0);
  const std::string release = system.release;
  const std::string major = QVRSystemInfo::GetOSMajorLevel();
  const std::string minor = QVRSystemInfo::GetOSMinorLevel();

  EXPECT_TRUE(release.starts_with(major + "." + minor)) << release;
  EXPECT_TRUE(QVRSystemInfo::GetOSReleaseLevel().starts_with(major + "." + minor + "."));
}

TEST(QVRSystemInfoTest, SomeAnswersAreFixed) {
  EXPECT_EQ(QVRSystemInfo::GetOSKernelName(), "UNKNOWN");
  EXPECT_EQ(QVRSystemInfo::GetOSClockTicks(), 1000u);
}

TEST(QVRSystemInfoTest, DetailsAreAnEmptyReport) {
  const TraceRecorder recorder;
  const std::string before = QVRSystemTrace.GetFormat();
  for (const char* format : {"%n: ", " ", "", "DefaultFormat", "a format longer than %p and %t"}) {
    QVRSystemTrace.SetFormat(format);
    QVRSystemInfo::PrintDetails();
    EXPECT_EQ(QVRSystemTrace.GetFormat(), format);
  }
  QVRSystemTrace.SetFormat(before);

  EXPECT_TRUE(recorder.lines().empty());
}

TEST(QVRSystemInfoTest, AnyThreadMayAsk) {
  const std::string host = QVRSystemInfo::GetHostName();
  const std::string user = QVRSystemInfo::GetLoginName();
  const std::string vendor = QVRSystemInfo::GetProcessorVendor();
  const std::string format = QVRSystemTrace.GetFormat();

  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int times = 0; times < 20; ++times) {
        EXPECT_EQ(QVRSystemInfo::GetHostName(), host);
        EXPECT_EQ(QVRSystemInfo::GetLoginName(), user);
        EXPECT_EQ(QVRSystemInfo::GetProcessorVendor(), vendor);
        QVRSystemInfo::PrintDetails();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  // Several at once may put back each other's blank.
  QVRSystemTrace.SetFormat(format);
}

}  // namespace
