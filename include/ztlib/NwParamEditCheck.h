// NwParamEditCheck: the policy that a user interface asks before it edits a tree of parameters.
#pragma once

#include <ztlib/ZtExport.h>

class NwParamBase;
class NwParamBundle;
class NwParameter;

/// Tells whether an edit is allowed (not 0) or not (0). This class goes by the flags of the node; a
/// derived one overrides what it wants and is installed by `NwParamBase::setEditCheck` for a node
/// and all below it. Only editors ask: the operations of parameters and bundles do not.
class ZTLIB_API NwParamEditCheck {
public:
    virtual ~NwParamEditCheck();

    /// Allowed unless the node's flag 32 is set.
    virtual int checkRename(NwParamBase* node, const char* newName);
    /// Allowed unless the node's flag 4 is set.
    virtual int checkDelete(NwParamBase* node);
    /// Allowed unless the bundle's flag 8 is set.
    virtual int checkInsertBundle(NwParamBundle* bundle, const char* name);
    /// Allowed unless the bundle's flag 16 is set.
    virtual int checkInsertParam(NwParamBundle* bundle, const char* name);
    /// Allowed unless the parameter's flag 64 is set.
    virtual int checkSetValue(NwParameter* parameter, const char* text);

    /// The one that holds where no other is set; lives as long as the process.
    static NwParamEditCheck* defaultEditCheck();
};
