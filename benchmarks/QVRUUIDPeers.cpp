// The packaged libraries beside QVRUUID. Those that generate draw on the kernel or
// another cryptographic generator.
#include <Poco/UUID.h>
#include <Poco/UUIDGenerator.h>
#include <benchmark/benchmark.h>
#include <uuid/uuid.h>

#include <QUuid>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <string>

#include "QVRUUIDText.h"

namespace {

void boostGenerate(benchmark::State& state) {
  boost::uuids::random_generator_pure generate;
  for (auto _ : state) benchmark::DoNotOptimize(generate());
}
BENCHMARK(boostGenerate)->Name("Boost.UUID/generate");
BENCHMARK(boostGenerate)->Name("Boost.UUID/generateTogether")->ThreadRange(2, 8)->UseRealTime();

void qtGenerate(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(QUuid::createUuid());
}
BENCHMARK(qtGenerate)->Name("QUuid/generate");
BENCHMARK(qtGenerate)->Name("QUuid/generateTogether")->ThreadRange(2, 8)->UseRealTime();

void libuuidGenerate(benchmark::State& state) {
  uuid_t uuid;
  for (auto _ : state) {
    uuid_generate_random(uuid);
    benchmark::DoNotOptimize(uuid);
  }
}
BENCHMARK(libuuidGenerate)->Name("libuuid/generate");

void pocoGenerate(benchmark::State& state) {
  Poco::UUIDGenerator& generator = Poco::UUIDGenerator::defaultGenerator();
  for (auto _ : state) benchmark::DoNotOptimize(generator.createRandom());
}
BENCHMARK(pocoGenerate)->Name("Poco::UUID/generate");

void boostParse(benchmark::State& state) {
  const boost::uuids::string_generator parse;
  const char* text = kUuidText;
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(parse(text));
  }
}
BENCHMARK(boostParse)->Name("Boost.UUID/parse");

void qtParse(benchmark::State& state) {
  const char* text = kUuidText;
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(QUuid::fromString(QLatin1StringView(text)));
  }
}
BENCHMARK(qtParse)->Name("QUuid/parse");

void libuuidParse(benchmark::State& state) {
  const char* text = kUuidText;
  uuid_t uuid;
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    if (uuid_parse(text, uuid) != 0) state.SkipWithError("not read");
    benchmark::DoNotOptimize(uuid);
  }
}
BENCHMARK(libuuidParse)->Name("libuuid/parse");

void pocoParse(benchmark::State& state) {
  const std::string text = kUuidText;
  for (auto _ : state) {
    Poco::UUID uuid;
    if (!uuid.tryParse(text)) state.SkipWithError("not read");
    benchmark::DoNotOptimize(uuid);
  }
}
BENCHMARK(pocoParse)->Name("Poco::UUID/parse");

void boostWrite(benchmark::State& state) {
  boost::uuids::uuid uuid = boost::uuids::string_generator()(kUuidText);
  for (auto _ : state) {
    benchmark::DoNotOptimize(uuid);
    benchmark::DoNotOptimize(boost::uuids::to_string(uuid));
  }
}
BENCHMARK(boostWrite)->Name("Boost.UUID/write");

void qtWrite(benchmark::State& state) {
  QUuid uuid = QUuid::fromString(QLatin1StringView(kUuidText));
  for (auto _ : state) {
    benchmark::DoNotOptimize(uuid);
    benchmark::DoNotOptimize(uuid.toByteArray(QUuid::WithoutBraces));
  }
}
BENCHMARK(qtWrite)->Name("QUuid/write");

template <class Keep>
void libuuidWrite(benchmark::State& state, Keep keep) {
  uuid_t uuid;
  uuid_parse(kUuidText, uuid);
  for (auto _ : state) {
    char text[UUID_STR_LEN];
    benchmark::DoNotOptimize(uuid);
    uuid_unparse_lower(uuid, text);
    keep(text);
  }
}
BENCHMARK_CAPTURE(libuuidWrite, string, [](const char* text) {
  benchmark::DoNotOptimize(std::string(text, UUID_STR_LEN - 1));
})->Name("libuuid/write");
BENCHMARK_CAPTURE(libuuidWrite, buffer, [](const char* text) {
  benchmark::DoNotOptimize(text);
  benchmark::ClobberMemory();
})->Name("libuuid into a buffer (limit)/write");

void pocoWrite(benchmark::State& state) {
  Poco::UUID uuid(kUuidText);
  for (auto _ : state) {
    benchmark::DoNotOptimize(uuid);
    benchmark::DoNotOptimize(uuid.toString());
  }
}
BENCHMARK(pocoWrite)->Name("Poco::UUID/write");

template <class Uuid, class Compare>
void compareBoth(benchmark::State& state, Uuid a, Uuid b, Compare compare) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
    benchmark::DoNotOptimize(compare(a, b));
  }
}

const auto kEqual = [](const auto& a, const auto& b) { return a == b; };
const auto kLess = [](const auto& a, const auto& b) { return a < b; };

template <class Compare>
void boostCompare(benchmark::State& state, Compare compare) {
  const boost::uuids::string_generator parse;
  compareBoth(state, parse(kUuidText), parse(kOtherUuidText), compare);
}
BENCHMARK_CAPTURE(boostCompare, equal, kEqual)->Name("Boost.UUID/equal");
BENCHMARK_CAPTURE(boostCompare, less, kLess)->Name("Boost.UUID/less");

template <class Compare>
void qtCompare(benchmark::State& state, Compare compare) {
  compareBoth(state, QUuid(QLatin1StringView(kUuidText)), QUuid(QLatin1StringView(kOtherUuidText)),
              compare);
}
BENCHMARK_CAPTURE(qtCompare, equal, kEqual)->Name("QUuid/equal");
BENCHMARK_CAPTURE(qtCompare, less, kLess)->Name("QUuid/less");

template <class Compare>
void pocoCompare(benchmark::State& state, Compare compare) {
  compareBoth(state, Poco::UUID(kUuidText), Poco::UUID(kOtherUuidText), compare);
}
BENCHMARK_CAPTURE(pocoCompare, equal, kEqual)->Name("Poco::UUID/equal");
BENCHMARK_CAPTURE(pocoCompare, less, kLess)->Name("Poco::UUID/less");

template <class Compare>
void libuuidCompare(benchmark::State& state, Compare compare) {
  uuid_t a;
  uuid_t b;
  uuid_parse(kUuidText, a);
  uuid_parse(kOtherUuidText, b);
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
    benchmark::DoNotOptimize(compare(uuid_compare(a, b), 0));
  }
}
BENCHMARK_CAPTURE(libuuidCompare, equal, kEqual)->Name("libuuid/equal");
BENCHMARK_CAPTURE(libuuidCompare, less, kLess)->Name("libuuid/less");

}  // namespace
