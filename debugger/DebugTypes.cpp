// What a debugger needs to know of classes whose debugging information compilers give once for all,
// in the unit with their virtual table: the library's own, as a rule built without any. This unit
// alone has it, for those that the printers look into.
#include <ztlib/NwParamBundle.h>
#include <ztlib/NwParameter.h>
#include <ztlib/ZtException.h>
#include <ztlib/ZtResult.h>
#include <ztlib/ZtString.h>

// Never called; a type is described where something is of it.
[[gnu::used, gnu::visibility("hidden")]] void ztDebugTypes(const ZtString*, const ZtResultBase*,
                                                           const ZtException*, const NwParamBundle*,
                                                           const NwParameter*);
void ztDebugTypes(const ZtString*, const ZtResultBase*, const ZtException*, const NwParamBundle*,
                  const NwParameter*) {}
