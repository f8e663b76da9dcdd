#include "Machine.h"

#include "QVRSystemInfo.h"

namespace catalogue {

Machine thisMachine() {
  return {QVRSystemInfo::GetHostName(), QVRSystemInfo::GetLoginName(),
          QVRSystemInfo::GetProcessorCount(), QVRSystemInfo::GetOSReleaseLevel()};
}

}  // namespace catalogue
