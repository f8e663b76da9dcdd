// Messages are rendered as their formats, arguments and settings tell.
//
// An input is a format and then an argument on each line: its settings, each a small letter
// and a number or character, and its value, a capital letter and a text. "(" and a format
// begin a message that is an argument; its own arguments follow up to ")". A line with
// settings alone leaves them to what comes next.
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iomanip>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "Input.h"
#include "Property.h"
#include "QVRCurrency.h"
#include "QVRLocale.h"
#include "QVRMessage.h"
#include "QVRSysTime.h"
#include "TextModel.h"

namespace {

using fuzz::expectEqual;
using fuzz::Input;
using fuzz::Outcome;

constexpr unsigned kMaxWidth = 300;
constexpr unsigned kMaxPrecision = 1000;
constexpr unsigned kMillisecondsPerDay = 24 * 60 * 60 * 1000;
constexpr int kMaxDepth = 2;  // a text may grow with each level as the product of lengths

/// Bytes as units of UTF-16: those that are no ASCII stand for full-width forms, digits
/// among them, and for surrogates.
std::u16string wide(std::string_view text) {
  std::u16string units;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const int base = byte < 0x80 ? 0 : byte < 0xE0 ? 0xFF00 - 0x80 : byte < 0xF0 ? 0xD800 : 0xDC00;
    units += static_cast<char16_t>(base + byte);
  }
  return units;
}

std::u16string ascii(const std::string& text) { return {text.begin(), text.end()}; }

struct Settings {
  unsigned width = 0;
  char16_t fill = u' ';
  int alignment = 2;
  unsigned precision = 6;
  int symbol = 1;
  char format = 'c';

  bool operator==(const Settings&) const = default;
};

/// What a message or an argument has to be rendered as.
struct Model {
  using Text = std::function<std::u16string(const Settings&)>;

  void append(const Text& text, const Settings& own = {}) {
    const Settings byDefault;
    Settings taken = own;
    const auto spend = [&](auto field) {
      if (settings.*field != byDefault.*field) taken.*field = settings.*field;
    };
    spend(&Settings::width);
    spend(&Settings::fill);
    spend(&Settings::alignment);
    spend(&Settings::precision);
    spend(&Settings::symbol);
    spend(&Settings::format);
    settings = byDefault;
    arguments.push_back([=] { return justified(text(taken), taken); });
  }

  void append(const Model& message) {
    append([=](const Settings&) { return message.body(); }, message.settings);
  }

  std::u16string scribe() const { return justified(body(), settings); }

  /// The text before it is justified.
  std::u16string body() const {
    std::u16string text;
    std::size_t i = 0;
    while (i < format.size()) {
      if (format[i] != u'%') {
        text += format[i++];
      } else if (i + 1 == format.size()) {
        ++i;
      } else if (!isDigit(format[i + 1])) {
        text += format[i + 1];
        i += 2;
      } else {
        std::size_t end = i + 1;
        while (end < format.size() && isDigit(format[end])) ++end;
        text += placeholder(format.substr(i, end - i));
        i = end;
      }
    }
    return text;
  }

  static bool isDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

  /// @param text "%" and digits.
  std::u16string placeholder(const std::u16string& text) const {
    std::size_t number = 0;
    for (std::size_t i = 1; i < text.size(); ++i) {
      number = number * 10 + static_cast<std::size_t>(text[i] - u'0');
      if (number > arguments.size()) return text;
    }
    return number == 0 ? text : arguments[number - 1]();
  }

  static std::u16string justified(const std::u16string& text, const Settings& settings) {
    if (settings.width <= text.size()) return text;
    const std::size_t pad = settings.width - text.size();
    const auto fill = [&](std::size_t count) { return std::u16string(count, settings.fill); };
    switch (settings.alignment) {
      case 0:
        return text + fill(pad);
      case 1:
        return fill(pad / 2) + text + fill(pad - pad / 2);
      case 2:
        return fill(pad) + text;
      default:
        return text;
    }
  }

  std::u16string format;
  Settings settings;
  std::vector<std::function<std::u16string()>> arguments;
};

/// A message and what it has to be.
struct Subject {
  explicit Subject(const std::u16string& format) : actual(format.c_str(), "file", 1) {
    expected.format = format.c_str();
  }

  QVRMessage actual;
  Model expected;
};

template <class T>
void addNumber(Subject& subject, T value) {
  subject.actual << value;
  subject.expected.append([=](const Settings&) { return ascii(std::to_string(value)); });
}

template <class T>
void addFloating(Subject& subject, T value) {
  subject.actual << value;
  subject.expected.append([=](const Settings& settings) {
    std::ostringstream out;
    out << std::setprecision(static_cast<int>(settings.precision)) << static_cast<double>(value);
    return ascii(out.str());
  });
}

template <class T>
void addNarrow(Subject& subject, const T& value, const std::string& text) {
  subject.actual << value;
  subject.expected.append([=](const Settings&) { return fuzz::text::widened(text); });
}

void addMoney(Subject& subject, double amount) {
  subject.actual << QVRCurrency(amount);
  subject.expected.append([=](const Settings&) {
    std::ostringstream out;
    out << '$' << std::setw(4) << amount;
    return ascii(out.str());
  });
}

void addTime(Subject& subject, unsigned milliseconds) {
  subject.actual << QVRSysTime(static_cast<int>(milliseconds));
  subject.expected.append([=](const Settings&) {
    const unsigned seconds = milliseconds / 1000;
    char text[16];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u", seconds / 3600 % 24, seconds / 60 % 60,
                  seconds % 60);
    return ascii(text);
  });
}

void addBool(Subject& subject, bool value) {
  subject.actual << value;
  Model message;
  message.format = value ? u"true" : u"false";
  subject.expected.append(message);
}

void addWide(Subject& subject, const std::u16string& text, bool isWhole) {
  const std::u16string expected = isWhole ? text : text.c_str();
  isWhole ? subject.actual << text : subject.actual << text.c_str();
  subject.expected.append([=](const Settings&) { return expected; });
}

double floatingOf(const std::string& text) { return std::strtod(text.c_str(), nullptr); }
long longOf(const std::string& text) { return std::strtol(text.c_str(), nullptr, 10); }

void addValue(Subject& subject, char kind, const std::string& text) {
  switch (kind) {
    case 'H':
      return addNumber(subject, static_cast<short>(longOf(text)));
    case 'I':
      return addNumber(subject, static_cast<int>(longOf(text)));
    case 'L':
      return addNumber(subject, longOf(text));
    case 'U':
      return addNumber(subject, static_cast<unsigned long>(longOf(text)));
    case 'V':
      return addNumber(subject, static_cast<unsigned short>(longOf(text)));
    case 'F':
      return addFloating(subject, std::strtof(text.c_str(), nullptr));
    case 'D':
      return addFloating(subject, floatingOf(text));
    case 'X':
      return addFloating(subject, std::strtold(text.c_str(), nullptr));
    case 'M':
      return addMoney(subject, floatingOf(text));
    case 'T':
      return addTime(subject, Input(text).number(kMillisecondsPerDay));
    case 'B':
      return addBool(subject, text == "1");
    case 'C':
      return addNarrow(subject, text.c_str()[0], text.substr(0, 1));
    case 'N':
      return addNarrow(subject, text, text);
    case 'P':
      return addNarrow(subject, text.c_str(), text);
    default:
      return addWide(subject, wide(text), kind == 'W');
  }
}

/// Streams a setting. @return whether the character stands for one.
bool addSetting(Subject& subject, char setting, Input& line) {
  Settings& settings = subject.expected.settings;
  switch (setting) {
    case 'w':
      subject.actual << QVRSetWidth(settings.width = line.number(kMaxWidth));
      return true;
    case 'f':
      settings.fill = wide(std::string(1, line.character()))[0];
      subject.actual << QVRSetFill(settings.fill);
      return true;
    case 'a':
      settings.alignment = static_cast<int>(line.number(5)) - 1;
      subject.actual << QVRSetAlignment(static_cast<QVRMsgBase::AlignmentType>(settings.alignment));
      return true;
    case 'p':
      subject.actual << QVRSetPrecision(settings.precision = line.number(kMaxPrecision));
      return true;
    case 's':
      settings.symbol = static_cast<int>(line.number(5)) - 1;
      subject.actual << QVRSetSymbol(static_cast<QVRMsgBase::SymbolType>(settings.symbol));
      return true;
    case 't':
      subject.actual << QVRSetFormat(settings.format = line.character());
      return true;
    default:
      return false;
  }
}

Settings settingsOf(const QVRMessage& message) {
  return {message.getWidth(),     message.getFill(),   message.getAlignment(),
          message.getPrecision(), message.getSymbol(), message.getFormat()};
}

void readArguments(Subject& subject, Input& input, int depth) {
  while (!input.isAtEnd()) {
    Input line(input.line());
    char kind = line.character();
    while (addSetting(subject, kind, line)) kind = line.character();
    if (kind == ')') return;
    if (kind == '(' && depth < kMaxDepth) {
      Subject inner(wide(line.rest()));
      readArguments(inner, input, depth + 1);
      subject.actual << inner.actual;
      subject.expected.append(inner.expected);
    } else if (kind != '\0') {
      addValue(subject, kind, std::string(line.rest()));
    }
    fuzz::expect("settings", settingsOf(subject.actual) == subject.expected.settings);
  }
}

Outcome<std::u16string> rendered(const QVRMsgData& message) {
  return fuzz::outcomeOf([&] { return message.scribe(QVRLocale::global()); });
}

void checkCopies(const QVRMessage& message, const Outcome<std::u16string>& text) {
  QVRMessage copy = message;
  expectEqual("copy", rendered(copy), text);
  expectEqual("format of the copy", copy.getFormatStr(), message.getFormatStr());
  QVRMessage assigned(u"%1 before", nullptr, 0);
  assigned << 1;
  assigned = copy;
  expectEqual("assigned", rendered(assigned), text);
  const QVRMessage moved = std::move(copy);
  expectEqual("moved", rendered(moved), text);
  const std::unique_ptr<QVRMsgData> clone(message.clone());
  expectEqual("clone", rendered(*clone), text);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::expect("locale", std::setlocale(LC_ALL, "C.UTF-8") != nullptr);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  Subject subject(wide(input.line()));
  readArguments(subject, input, 0);

  const auto text = rendered(subject.actual);
  expectEqual("text", text, fuzz::outcomeOf([&] { return subject.expected.scribe(); }));
  expectEqual("format", subject.actual.getFormatStr(), subject.expected.format);
  checkCopies(subject.actual, text);
  if (!text.failure.empty()) return 0;
  const auto onStream = fuzz::outcomeOf([&] {
    std::ostringstream out;
    out << subject.actual;
    return out.str();
  });
  expectEqual("on a stream", onStream,
              fuzz::outcomeOf([&] { return fuzz::text::narrowed(text.value); }));
  return 0;
}
