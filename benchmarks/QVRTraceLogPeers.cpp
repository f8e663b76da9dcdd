// The same line, with the same fields, from the packaged libraries.
#include <Poco/AutoPtr.h>
#include <Poco/Channel.h>
#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/PatternFormatter.h>
#include <benchmark/benchmark.h>
#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>

#include <boost/log/attributes.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sources/severity_logger.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/log/utility/manipulators/add_value.hpp>
#include <boost/log/utility/setup/common_attributes.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <memory>
#include <mutex>
#include <string>

namespace {

constexpr char kFile[] = "/home/developer/suite/module/src/Geometry.cpp";

/// Formats under its lock, as every sink of this library does, and drops the line.
class DroppingSink : public spdlog::sinks::base_sink<std::mutex> {
 protected:
  void sink_it_(const spdlog::details::log_msg& message) override {
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    benchmark::DoNotOptimize(line.data());
  }
  void flush_() override {}
};

spdlog::logger& spdlogLogger() {
  static spdlog::logger logger("GeometryTrace", std::make_shared<DroppingSink>());
  static const bool isSetUp = [] {
    logger.set_pattern("%n(%t) %s(%#) %l %H:%M:%S %p %v");
    return true;
  }();
  benchmark::DoNotOptimize(isSetUp);
  return logger;
}

void spdlogLine(benchmark::State& state) {
  spdlog::logger& logger = spdlogLogger();
  int object = 0;
  for (auto _ : state) {
    logger.log(spdlog::source_loc{kFile, 42, ""}, spdlog::level::err, "object {} has no surface",
               ++object);
  }
}
BENCHMARK(spdlogLine)->Name("spdlog/line")->ThreadRange(1, 4);

void spdlogOff(benchmark::State& state) {
  spdlog::logger& logger = spdlogLogger();
  for (auto _ : state) logger.debug("object {} has no surface", 1);
}
BENCHMARK(spdlogOff)->Name("spdlog/off");

class DroppingChannel : public Poco::Channel {
 public:
  void log(const Poco::Message& message) override {
    benchmark::DoNotOptimize(message.getText().data());
  }
};

Poco::Logger& pocoLogger() {
  static Poco::Logger& logger = [&]() -> Poco::Logger& {
    const Poco::AutoPtr<Poco::Formatter> formatter(
        new Poco::PatternFormatter("%s(%I) %U(%u) %p %L%H:%M:%S %A %t"));
    const Poco::AutoPtr<Poco::Channel> channel(
        new Poco::FormattingChannel(formatter, Poco::AutoPtr<Poco::Channel>(new DroppingChannel)));
    return Poco::Logger::create("GeometryTrace", channel, Poco::Message::PRIO_INFORMATION);
  }();
  return logger;
}

void pocoLine(benchmark::State& state) {
  Poco::Logger& logger = pocoLogger();
  int object = 0;
  for (auto _ : state) {
    logger.error("object " + std::to_string(++object) + " has no surface", kFile, 42);
  }
}
BENCHMARK(pocoLine)->Name("Poco/line")->ThreadRange(1, 4);

void pocoOff(benchmark::State& state) {
  Poco::Logger& logger = pocoLogger();
  for (auto _ : state) benchmark::DoNotOptimize(logger.debug());
}
BENCHMARK(pocoOff)->Name("Poco/off");

namespace logging = boost::log;

enum Severity { kInfo, kError };

class DroppingBackend
    : public logging::sinks::basic_formatted_sink_backend<char,
                                                          logging::sinks::synchronized_feeding> {
 public:
  void consume(const logging::record_view&, const string_type& line) {
    benchmark::DoNotOptimize(line.data());
  }
};

using BoostLogger = logging::sources::severity_logger_mt<Severity>;

BoostLogger& boostLogger() {
  namespace expressions = logging::expressions;
  static BoostLogger logger = [] {
    using Sink = logging::sinks::synchronous_sink<DroppingBackend>;
    const auto sink = boost::make_shared<Sink>();
    sink->set_formatter(
        expressions::stream
        << "GeometryTrace("
        << expressions::attr<logging::attributes::current_thread_id::value_type>("ThreadID") << ") "
        << expressions::attr<const char*>("File") << '(' << expressions::attr<int>("Line") << ") "
        << expressions::attr<Severity>("Severity") << ' '
        << expressions::format_date_time<boost::posix_time::ptime>("TimeStamp", "%H:%M:%S %p")
        << ' ' << expressions::smessage);
    logging::core::get()->add_sink(sink);
    logging::core::get()->set_filter(expressions::attr<Severity>("Severity") >= kError);
    logging::add_common_attributes();
    return BoostLogger();
  }();
  return logger;
}

void boostLine(benchmark::State& state) {
  BoostLogger& logger = boostLogger();
  int object = 0;
  for (auto _ : state) {
    BOOST_LOG_SEV(logger, kError) << logging::add_value("File", static_cast<const char*>(kFile))
                                  << logging::add_value("Line", 42) << "object " << ++object
                                  << " has no surface";
  }
}
BENCHMARK(boostLine)->Name("Boost.Log/line")->ThreadRange(1, 4);

void boostOff(benchmark::State& state) {
  BoostLogger& logger = boostLogger();
  for (auto _ : state) BOOST_LOG_SEV(logger, kInfo) << "object " << 1 << " has no surface";
}
BENCHMARK(boostOff)->Name("Boost.Log/off");

}  // namespace
