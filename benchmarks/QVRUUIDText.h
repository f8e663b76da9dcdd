// What all programs read and compare.
#pragma once

constexpr char kUuidText[] = "6ba7b810-9dad-41d1-80b4-00c04fd430c8";
// Differs late.
constexpr char kOtherUuidText[] = "6ba7b810-9dad-41d1-80b4-00c04fd430c9";
