// The table of bodies beside a map.
#include "QVRSystem/QVRDynamicLibraryMD.m/src/QVRNameTable.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "QVRCountedPointer.h"
#include "support/TestSeed.h"

namespace {

using qvr::internal::NamedEntry;
using qvr::internal::NameTable;

struct Body : QVRCountedObject {
  explicit Body(const std::string& name) : entry(name, *this) {}
  NamedEntry entry;
};

/// An empty handle that tells what it was given.
struct Handle : QVRCountedBase {
  Handle() : QVRCountedBase(nullptr) {}
  QVRCountedObject* referent() const { return getReferent(); }
};

QVRCountedObject* find(NamedEntry* root, const std::string& name) {
  Handle handle;
  const bool found = NameTable::share(root, name, NameTable::hash(name), handle);
  EXPECT_EQ(found, handle.referent() != nullptr);
  return handle.referent();
}

TEST(QVRNameTableTest, FindsWhatAMapFinds) {
  constexpr int kSteps = 20'000;
  constexpr int kNames = 200;
  std::mt19937_64 random(testSeed());
  std::vector<QVRCountedPointer<Body>> bodies;
  for (int i = 0; i < 2 * kNames; ++i) bodies.emplace_back(new Body(std::to_string(i % kNames)));
  NamedEntry* root = nullptr;
  std::map<std::string, Body*> model;

  for (int step = 0; step < kSteps; ++step) {
    Body& body = *bodies[random() % bodies.size()];
    const std::string& name = body.entry.name;
    if (random() % 2 == 0) {
      NameTable::enter(root, body.entry);
      model[name] = &body;
    } else {
      NameTable::remove(root, body.entry);
      model.erase(name);
    }
    const std::string& any = bodies[random() % bodies.size()]->entry.name;
    const auto expected = model.find(any);
    ASSERT_EQ(find(root, any), expected == model.end() ? nullptr : expected->second) << step;
    const auto own = model.find(name);
    ASSERT_EQ(NameTable::has(root, body.entry), own != model.end() && own->second == &body);
  }
  for (const auto& [name, body] : model) EXPECT_EQ(find(root, name), body);
}

TEST(QVRNameTableTest, WhatNobodyHoldsIsNotShared) {
  Body body("name");
  NamedEntry* root = nullptr;
  NameTable::enter(root, body.entry);

  EXPECT_EQ(find(root, "name"), nullptr);
  EXPECT_EQ(body.getReferences(), 0u);
  body.addReference();
  EXPECT_EQ(find(root, "name"), &body);
  EXPECT_EQ(body.getReferences(), 1u);
}

}  // namespace
