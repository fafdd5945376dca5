#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

/// The helper among the programs that are started at login. An entry is the helper's when its path ends with
/// "TamselHelper.app": a helper at any place counts, an older copy too. Entries of other programs are never touched.
/// Main thread.
namespace HelperLoginItem {

/// Whether the list holds the helper; no when the user has no list. Errors: Permission, Io.
Result<bool> isPresent();

/// Adds an entry for the helper's bundle, with its alias record, at the end of the list. Does nothing when a helper is
/// in it, or when the user has no list: none is made here. Errors: Permission, NoSpace, Io; the list is as it was.
Result<void> add(const Path &helper);

/// Removes every entry of a helper. Errors: Permission, NoSpace, Io; some of them may be gone.
Result<void> remove();

/// Puts one entry for the helper's bundle, with its alias record, at the end of the list in the place of every entry of
/// a helper, in one step: there is one at each time. Errors: Permission, NoSpace, Io; older ones may still be there.
Result<void> renew(const Path &helper);

} // namespace HelperLoginItem
