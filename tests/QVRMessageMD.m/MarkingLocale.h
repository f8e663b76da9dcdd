// A locale that shows which of its operations wrote a value, and with what.
#pragma once

#include <string>

#include "QVRLocale.h"

/// Writes "<operation:value,setting>" instead of the value.
class MarkingLocale : public QVRLocale {
 public:
  MarkingLocale() : QVRLocale("") {}

  using QVRLocale::put;
  void put(std::u16string& out, const QVRSysDate&, char format) const override {
    out = mark("date", std::string(1, format));
  }
  void put(std::u16string& out, const QVRSysTime&, char format) const override {
    out = mark("time", std::string(1, format));
  }
  void put(std::u16string& out, const QVRSysDateTime&, char format) const override {
    out = mark("datetime", std::string(1, format));
  }
  void put(std::u16string& out, double value, unsigned precision) const override {
    out = mark("double", std::to_string(value) + "," + std::to_string(precision));
  }
  void put(std::u16string& out, unsigned long value) const override {
    out = mark("unsigned long", std::to_string(value));
  }
  void put(std::u16string& out, long value) const override {
    out = mark("long", std::to_string(value));
  }
  void put(std::u16string& out, const wchar16* text, std::size_t count) const override {
    out = u"<wide:" + std::u16string(text, count) + u">";
  }
  void put(std::u16string& out, const char* text, std::size_t count) const override {
    out = mark("narrow", std::string(text, count));
  }
  void putMoney(std::u16string& out, double amount, SymbolType symbol) const override {
    out = mark("money", std::to_string(amount) + "," + std::to_string(symbol));
  }

 private:
  static std::u16string mark(const std::string& operation, const std::string& value) {
    const std::string text = "<" + operation + ":" + value + ">";
    return {text.begin(), text.end()};
  }
};
