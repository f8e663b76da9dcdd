// Diagnostic lines, switched through the environment.
#pragma once

#include <ostream>
#include <string>

#include "QVRSysFastMutexLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

/// How serious a line is, and how much is traced.
enum QVRTraceLevel : int {
  QVRTraceLevelNone = 0,
  QVRTraceLevelFatal,
  QVRTraceLevelError,
  QVRTraceLevelWarning,
  QVRTraceLevelInfo,
  QVRTraceLevelDebug,
  QVRTraceLevelCall,   ///< entry to and exit from functions
  QVRTraceLevelUnspec  ///< the next source of the level decides
};

/// Writes "None", "Fatal", "Error", "Warning", "Info", "Debug", "Call" or
/// "Unspec", and "Unknown" for any other value.
QVRSYSTEM_API std::ostream& operator<<(std::ostream& out, QVRTraceLevel level);

/// A named log, whose lines go to the host's system log (ZELSysLog).
///
/// A line is written in four steps:
/// @code
/// if (log.detLevel(level)) {
///   log.acquireLock();
///   log.write(level, __FILE__, __LINE__) << " what happened\n";
///   log.releaseLock();
/// }
/// @endcode
/// Lines of the levels None to Warning reach the system log; those of Info to
/// Unspec are composed and dropped. No newline is added. A zero character in a
/// line ends it for the writer.
///
/// Formatting (base, width, precision, fill, locale) and errors that a caller
/// leaves in the stream end with the line. A line that is begun while another one of the
/// same log is being composed, by one of its operands or by the writer, is a
/// line of its own, and the outer one goes on unharmed.
///
/// @par Levels
/// The environment is read at every call. The first of these that gives a level
/// other than Unspec counts: the variable QVRDefaultTraceLevel, or else the
/// default level, for all logs; the variable of the log's name with "TraceLevel"
/// after it; only where that is not set, the level of setLevel(). A variable
/// holds one of the texts "None" to "Call"; any other text means Unspec.
///
/// @par Format
/// What precedes the caller's text is told by a format: characters that stand
/// for themselves, and
/// | directive | gives |
/// |---|---|
/// | %F | the file as it was given, and a blank |
/// | %f | the file behind its last backslash, and a blank |
/// | %l | the line, and a blank |
/// | %n | the log's name, and a blank |
/// | %p | the calling thread's number, and a blank |
/// | %P | the process's number, and a blank |
/// | %t, %T | the local time as "%H:%M:%S %p" of strftime, and a blank |
/// | %m | the level's text; nothing for a value without one |
///
/// Any other character behind a "%" stands for itself; a "%" at the end is
/// dropped. The text "DefaultFormat" stands for the default format and is
/// replaced by it when the first header is made.
///
/// @par Thread safety
/// Any thread may call any operation. One line of all logs is in progress at a
/// time: acquireLock() waits for it. Reading and setting format and level wait
/// for no line; whoever reads sees one whole value. What changes the
/// environment meanwhile is the caller's affair.
/// @par Cost
/// A level that is off costs a look at two environment variables. Buffers are
/// used again: a line allocates only where it is longer than those before.
class QVRSYSTEM_API QVRTraceLog {
 public:
  /// @throws std::bad_alloc
  QVRTraceLog(const std::string& name, QVRTraceLevel level, const std::string& format);

  virtual ~QVRTraceLog();

  QVRTraceLog(const QVRTraceLog&) = delete;
  QVRTraceLog& operator=(const QVRTraceLog&) = delete;

  std::string getName() const;

  void setLevel(QVRTraceLevel level);

  /// The level that counts, as described above.
  QVRTraceLevel getLevel() const;

  /// Whether a line of this level is to be composed: always below Info, otherwise
  /// where getLevel() is no lower.
  bool detLevel(QVRTraceLevel level) const;

  /// @throws std::bad_alloc; the format is as it was.
  void SetFormat(const std::string& format);

  std::string GetFormat() const;

  /// Begins a line. The lock can be taken again by the thread that holds it.
  /// @throws std::bad_alloc only within another line of this log; the lock is
  ///   then as it was.
  void acquireLock() QVR_ACQUIRE(ClassMutex);

  /// Appends the text, without a header, to the line in progress. Null is the
  /// empty text.
  /// @return the stream that the caller appends to, valid until releaseLock().
  std::ostream& write(QVRTraceLevel level, const char* text) QVR_REQUIRES(ClassMutex);

  /// Appends the header to the line in progress and clears the errors of the
  /// stream. A null file is the empty text.
  /// @return the stream that the caller appends to, valid until releaseLock().
  /// @throws std::bad_alloc; nothing is appended and the lock stays held.
  std::ostream& write(QVRTraceLevel level, const char* file, int line) QVR_REQUIRES(ClassMutex);

  /// Ends the line and hands it to the system log as its level says.
  /// @throws what the writer throws; the line has ended and the lock is given
  ///   back all the same.
  void releaseLock() QVR_RELEASE(ClassMutex);

  /// Waits for the line in progress. The value of the environment variable
  /// QVRDefaultTraceLevel goes before this one.
  static void SetDefaultLevel(QVRTraceLevel level);
  static QVRTraceLevel GetDefaultLevel();

  /// "%n(%p) %f(%l) %m".
  static std::string GetDefaultFormat();

  /// The standard error stream. Nothing is ever written to it.
  static std::ostream& GetDefaultStream();

  /// The three do nothing: the defaults cannot be changed.
  static void SetDefaultFormat(const std::string& format);
  static void SetDefaultStream(std::ostream& stream);
  /// @return 1.
  static int SetDefaultStream(const std::string& fileName);

 private:
  friend struct QVRTraceLogTestAccess;
  struct State;

  static QVRSysFastMutexLock& ClassMutex;  // the lines of all logs

  // Of the two global logs never freed: threads and exit handlers trace to them
  // when their destructors have run.
  State* const state_;
};

/// The library's own log and that of its sibling: level Debug, default format.
/// Made before and usable after every other static object of the library.
extern QVRSYSTEM_API QVRTraceLog QVRSystemTrace;
extern QVRSYSTEM_API QVRTraceLog QVRBuildTrace;
