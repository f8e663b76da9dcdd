// Dynamic classes that do not compile; the case is chosen by a macro.
#include "QVRDynamicObject.h"

class Part : public QVRDynamicObject {
  QVR_DECLARE_DYNAMIC_CLASS(Part);

 public:
  Part() = default;
  Part(const Part& other, CopyMode mode) : QVRDynamicObject(other, mode) {}
};

#if defined(QVR_CASE_StricterAlignment)

class alignas(32) Wide : public QVRDynamicObject {
  QVR_DECLARE_DYNAMIC_CLASS(Wide);

 public:
  Wide() = default;
  Wide(const Wide& other, CopyMode mode) : QVRDynamicObject(other, mode) {}
};
QVR_DEFINE_DYNAMIC_CLASS(Wide, QVRDynamicObject);

#elif defined(QVR_CASE_ForeignBase)

class Other : public QVRDynamicObject {
  QVR_DECLARE_DYNAMIC_CLASS(Other);
};
QVR_DEFINE_ABSTRACT_DYNAMIC_CLASS(Other, Part);

#elif defined(QVR_CASE_OwnBase)

QVR_DEFINE_ABSTRACT_DYNAMIC_CLASS(Part, Part);

#elif defined(QVR_CASE_ThreeBases)

QVR_DEFINE_ABSTRACT_DYNAMIC_CLASS(Part, QVRDynamicObject, QVRDynamicObject, QVRDynamicObject);

#elif defined(QVR_CASE_MissingRoot)

class Rootless {
  QVR_DECLARE_DYNAMIC_CLASS(Rootless);
};

#endif
