// The signatures of paths, directories and files that other modules compile against.
#include <cstdio>
#include <fstream>
#include <list>
#include <string>

#include "QVROSDirectory.h"
#include "QVROSDirectoryIterator.h"
#include "QVROSPath.h"
#include "QVROSRegularFile.h"
#include "QVROSSearchPath.h"
#include "contract/Signature.h"

namespace path {

using P = QVROSPath;
using S = std::string;
static_assert(std::has_virtual_destructor_v<P>);
static_assert(P::OVERWRITE == 0 && P::FAIL_IF_EXISTS == 1 && std::is_enum_v<P::createMode>);
static_assert(makesImplicitly<P, S> && makesImplicitly<P, const char*> &&
              std::is_default_constructible_v<P> && std::is_copy_constructible_v<P>);
static_assert(std::is_same_v<decltype(std::declval<P&>() = std::declval<const P&>()), P&> &&
              std::is_same_v<decltype(std::declval<P&>() = std::declval<const S&>()), P&>);
static_assert(has<void (P::*)(const S&)>(&P::setPath) && has<S (P::*)() const>(&P::getPath) &&
              has<char (P::*)() const>(&P::getDelimiter) && has<S (P::*)() const>(&P::getNTPath) &&
              has<S (P::*)() const>(&P::getUNIXPath));
static_assert(has<bool (P::*)(const P&) const>(&P::operator==) &&
              has<bool (P::*)(const P&) const>(&P::operator!=) &&
              has<bool (P::*)(const S&) const>(&P::operator==) &&
              has<bool (P::*)(const S&) const>(&P::operator!=));
static_assert(std::is_same_v<decltype(P() == "a"), bool> &&
              std::is_same_v<decltype(P() != "a"), bool>);
static_assert(has<S (P::*)() const>(&P::basename) && has<S (P::*)() const>(&P::dirname));
static_assert(has<bool (P::*)() const>(&P::isValid));
static_assert(has<S (P::*)() const>(&P::getExpandedPath) &&
              has<S (P::*)() const>(&P::getFullPath) && has<S (P::*)() const>(&P::getCurrentDir));
static_assert(has<std::FILE* (P::*)() const>(&P::createTemparyFile));
static_assert(has<bool (P::*)() const>(&P::exists) && has<bool (P::*)() const>(&P::isReadable) &&
              has<bool (P::*)() const>(&P::isWritable) &&
              has<bool (P::*)() const>(&P::isExecutable) &&
              has<bool (P::*)() const>(&P::isRegularFile) &&
              has<bool (P::*)() const>(&P::isDirectory));
static_assert(has<int (P::*)() const>(&P::size) && has<long (P::*)() const>(&P::getAccessTime) &&
              has<long (P::*)() const>(&P::getModifyTime) &&
              has<long (P::*)() const>(&P::getStatusTime) &&
              has<void (P::*)(const long&) const>(&P::setAccessTime) &&
              has<void (P::*)(const long&) const>(&P::setModifyTime));
static_assert(has<void (P::*)() const>(&P::removeRegularFile) &&
              has<void (P::*)() const>(&P::removeDirectory) &&
              has<void (P::*)(P::createMode) const>(&P::createRegularFile) &&
              has<void (P::*)() const>(&P::createDirectory) &&
              has<void (P::*)(const P&, P::createMode) const>(&P::copy) &&
              has<void (P::*)(const P&, P::createMode) const>(&P::move));

void callsWithText(P& p, const S& text) {
  p.appendPath(text);
  p.appendPath("a");
  static_assert(std::is_same_v<decltype(p.isNTValid(text)), bool>);
  static_assert(std::is_same_v<decltype(p.isUNIXValid(text)), bool>);
  static_cast<const P&>(p).changeCurrentDir(text);
}

}  // namespace path

namespace directory {

using D = QVROSDirectory;
using I = QVROSDirectoryIterator;
static_assert(std::has_virtual_destructor_v<D> && std::has_virtual_destructor_v<I>);
static_assert(std::is_default_constructible_v<D> && makesExplicitly<D, const QVROSPath&> &&
              std::is_copy_constructible_v<D>);
static_assert(has<void (D::*)(const QVROSPath&)>(&D::setPath) &&
              has<const QVROSPath& (D::*)() const>(&D::getPath) &&
              has<std::uint64_t (D::*)() const>(&D::freeSpace) &&
              has<bool (D::*)() const>(&D::empty) && has<I (D::*)() const>(&D::begin) &&
              has<I (D::*)() const>(&D::end) && has<bool (D::*)(const D&) const>(&D::operator==) &&
              has<bool (D::*)(const D&) const>(&D::operator!=));
static_assert(I::FLAT == 0 && I::RECURSIVE == 1);
static_assert(std::is_default_constructible_v<I> && makesExplicitly<I, I::iteratorMode> &&
              std::is_constructible_v<I, const QVROSPath&, I::iteratorMode> &&
              std::is_copy_constructible_v<I> && std::is_copy_assignable_v<I>);
static_assert(has<bool (I::*)(int)>(&I::operator++) &&
              has<QVROSPath (I::*)() const>(&I::operator*) &&
              has<QVROSPath (I::*)() const>(&I::getCurrentFile) &&
              has<bool (I::*)()>(&I::setToEnd) && has<bool (I::*)()>(&I::skip) &&
              has<bool (I::*)(const I&) const>(&I::operator==) &&
              has<bool (I::*)(const I&) const>(&I::operator!=));

}  // namespace directory

namespace file {

using F = QVROSRegularFile;
static_assert(std::has_virtual_destructor_v<F> && isNeitherCopiedNorMoved<F>);
static_assert(std::is_default_constructible_v<F> &&
              std::is_constructible_v<F, const QVROSPath&, int> &&
              !std::is_constructible_v<F, const QVROSPath&>);
static_assert(has<void (F::*)(const QVROSPath&, int)>(&F::open) && has<void (F::*)()>(&F::close) &&
              has<bool (F::*)() const>(&F::isOpen) && has<std::filebuf* (F::*)()>(&F::getBuffer) &&
              has<QVROSPath (F::*)() const>(&F::getPath));
static_assert(makesImplicitly<std::streambuf*, F&> && !makesImplicitly<std::streambuf*, const F&>);
static_assert(has<bool (F::*)(const F&) const>(&F::operator==) &&
              has<bool (F::*)(const F&) const>(&F::operator!=) &&
              has<bool (F::*)(const F&) const>(&F::operator<));

}  // namespace file

namespace searchPath {

using P = QVROSSearchPath;
using S = std::string;
using Iterator = P::iterator;
using ConstIterator = P::const_iterator;
static_assert(std::is_same_v<Iterator, std::list<QVROSPath>::iterator> &&
              std::is_same_v<ConstIterator, std::list<QVROSPath>::const_iterator>);
static_assert(std::has_virtual_destructor_v<P> && std::is_default_constructible_v<P> &&
              makesExplicitly<P, unsigned char> && std::is_copy_constructible_v<P> &&
              std::is_constructible_v<P, const S&, unsigned char> &&
              !std::is_constructible_v<P, const S&>);
static_assert(has<P& (P::*)(const P&)>(&P::operator=) && has<P& (P::*)(const S&)>(&P::operator=) &&
              has<P& (P::*)(const P&)>(&P::operator+=) && has<P& (P::*)(const S&)>(&P::operator+=));
static_assert(has<void (P::*)(const S&)>(&P::pushFront) &&
              has<void (P::*)(const S&)>(&P::pushBack) &&
              has<void (P::*)(const Iterator&, const S&)>(&P::insertPath) &&
              has<void (P::*)(const Iterator&)>(&P::removePath) &&
              has<void (P::*)(const S&)>(&P::removePath) && has<void (P::*)()>(&P::clear));
static_assert(has<Iterator (P::*)(const QVROSPath&)>(&P::findPath) &&
              has<ConstIterator (P::*)(const QVROSPath&) const>(&P::findPath) &&
              has<bool (P::*)(const QVROSPath&, QVROSPath&) const>(&P::findFile) &&
              has<S (P::*)() const>(&P::getPathList) &&
              has<void (P::*)(unsigned char)>(&P::setDelimiter));
static_assert(has<Iterator (P::*)()>(&P::begin) && has<Iterator (P::*)()>(&P::end) &&
              has<ConstIterator (P::*)() const>(&P::begin) &&
              has<ConstIterator (P::*)() const>(&P::end));
static_assert(has<bool (P::*)(const P&) const>(&P::operator==) &&
              has<bool (P::*)(const P&) const>(&P::operator!=));

}  // namespace searchPath
