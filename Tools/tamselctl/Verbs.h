#pragma once

#include "Tools/tamselctl/Verb.h"

// StatusVerb.cpp
ExitCode showStatus(Invocation &invocation);

// SwitchVerbs.cpp
ExitCode switchOn(Invocation &invocation);
ExitCode switchOff(Invocation &invocation);

// HistoryVerbs.cpp
ExitCode showHistory(Invocation &invocation);

// FolderVerbs.cpp
ExitCode listFolders(Invocation &invocation);
ExitCode addFolders(Invocation &invocation);
ExitCode removeFolders(Invocation &invocation);

// NotificationVerbs.cpp
ExitCode postNotification(Invocation &invocation);
ExitCode listenToNotifications(Invocation &invocation);

// SizeVerbs.cpp
ExitCode showSize(Invocation &invocation);

// AliasVerbs.cpp
ExitCode makeAlias(Invocation &invocation);
ExitCode showAlias(Invocation &invocation);
ExitCode resolveAlias(Invocation &invocation);

// ExclusionVerbs.cpp
ExitCode showExclusionByRules(Invocation &invocation);

// ExclusionListVerbs.cpp
ExitCode changeExcludedPaths(Invocation &invocation);
ExitCode changeExcludedExtensions(Invocation &invocation);

// AttributesVerbs.cpp
ExitCode listAttributes(Invocation &invocation);
ExitCode getAttribute(Invocation &invocation);
ExitCode setAttribute(Invocation &invocation);
ExitCode copyAttributes(Invocation &invocation);

// CompressVerb.cpp
ExitCode compressFiles(Invocation &invocation);

// ExpandVerbs.cpp
ExitCode expandPaths(Invocation &invocation);
ExitCode expandFile(Invocation &invocation);

// RepairVerb.cpp
ExitCode repairPaths(Invocation &invocation);

// InspectVerb.cpp
ExitCode inspectFile(Invocation &invocation);

// UsageVerbs.cpp
ExitCode showUsers(Invocation &invocation);
ExitCode showWhetherOpen(Invocation &invocation);

// VolumeVerb.cpp
ExitCode showVolumes(Invocation &invocation);

// VersionVerb.cpp
ExitCode compareVersions(Invocation &invocation);

// FetchVerb.cpp
ExitCode fetchPage(Invocation &invocation);
