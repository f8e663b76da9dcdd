// A module that uses the library, while it is being loaded too.
#include <string>

#include "QVRDynamicLibrary.h"
#include "QVRDynamicSymbol.h"
#include "QVREOpenFailed.h"

#define QVR_EXPORT extern "C" [[gnu::visibility("default")]]

namespace {

const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(QVR_LOADED_MODULE);
const QVRDynamicSymbol symbol = library.getSymbol("add");

}  // namespace

QVR_EXPORT bool sharesSymbol(const QVRDynamicSymbol* other);
QVR_EXPORT QVRDynamicLibrary* makeLibrary();
QVR_EXPORT void openAbsent();

bool sharesSymbol(const QVRDynamicSymbol* other) { return *other == symbol; }

QVRDynamicLibrary* makeLibrary() { return new QVRDynamicLibrary(library); }

void openAbsent() { QVRDynamicLibrary::getLibrary("/absent"); }
