// The benchmarks' own providers: objects whose slots refuse, but for those that a benchmark writes.
#pragma once

#include "support/refusing_objects.h"

namespace uab {

using BareAddrBook = RefusingAddrBook<RefusingProp<Refusing<IAddrBook>>>;
using BareContainer = RefusingABContainer<RefusingProp<Refusing<IABContainer>>>;
using BareTable = RefusingTable<Refusing<IMAPITable>>;

}  // namespace uab
