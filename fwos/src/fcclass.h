// What the framework's own classes share.
#ifndef FCCLASS_H
#define FCCLASS_H

#include "fwclass.h"

// Whether a pointer is a class record: the condition of the assertion "Not a class".
inline bool FcIsClass(const FwClassRecord* pClassRecord) {
  return pClassRecord != nullptr && pClassRecord->classMagicCookie == FW_CLASS_COOKIE;
}

// The method that a class would have inherited: how a method sends on to its superclass.
template <class Signature>
Signature* FcSuperMethod(FwMessageID messageID, const FwClassRecord& ownClass) {
  return FwClassFindMethodAs<Signature>(messageID, ownClass.pSuperClassRecord);
}

#endif
