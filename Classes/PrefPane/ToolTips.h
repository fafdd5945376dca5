#pragma once

#include "Platform/Types.h"

#include <QString>

/// `text` as a tool tip that shows it as it stands, whatever it looks like.
QString plainToolTip(const QString &text);

/// "1,500 bytes", with the digits and the marks between them as the user's language has them.
QString exactSize(ByteCount size);
