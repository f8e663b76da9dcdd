// The packaged libraries' threads.
#include <Poco/Thread.h>

#include <QThread>
#include <boost/thread/thread.hpp>

#include "ThreadBenchmark.h"

namespace {

class QtThread : public QThread {
 protected:
  void run() override { doNothing(); }
};

void qt() {
  QtThread thread;
  thread.start();
  thread.wait();
}

void boosts() { boost::thread(&doNothing).join(); }

void poco() {
  Poco::Thread thread;
  thread.startFunc(&doNothing);
  thread.join();
}

[[maybe_unused]] const bool isRegistered = timeThread("QThread", &qt) &&
                                           timeThread("boost::thread", &boosts) &&
                                           timeThread("Poco::Thread", &poco);

}  // namespace
