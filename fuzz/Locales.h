// The encodings that conversions are fuzzed in.
#pragma once

namespace fuzz {

/// Whether text comes back from UTF-16 byte by byte; others have several ways to write
/// one character.
enum class Mapping { kOneToOne, kManyToOne };

/// Gives the calling thread the locale that a letter stands for: C, D (Latin-1),
/// J (EUC-JP), G (GB18030), B (Big5-HKSCS), and UTF-8 for any other.
Mapping useLocale(char letter);

}  // namespace fuzz
