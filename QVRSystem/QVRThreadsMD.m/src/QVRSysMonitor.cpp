#include "QVRSysMonitor.h"

void QVRSysMonitor::acquire() { mutex_.acquire(); }

void QVRSysMonitor::release() { mutex_.release(); }
