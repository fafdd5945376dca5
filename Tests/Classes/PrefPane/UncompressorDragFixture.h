#pragma once

#include "Classes/PrefPane/DragInfoImageView.h"
#include "Classes/Shared/AnimatorProxy.h"
#include "Tests/Classes/PrefPane/UncompressorFixture.h"

#include <QPropertyAnimation>

/// The page of the drop zone and something that is dragged over its box.
class UncompressorDragFixture : public UncompressorFixture
{
protected:
    UncompressorDragFixture()
    {
        hint = window.findChild<DragInfoImageView *>();
        content.setUrls({QUrl::fromLocalFile(QStringLiteral("/nowhere"))});
    }
    Qt::DropAction enter() { return box->draggingEntered(content); }

    /// Runs the fading of a view to its end.
    static void endFading(QWidget *faded)
    {
        if (QPropertyAnimation *const fading = AnimatorProxy::alphaAnimation(faded))
            fading->setCurrentTime(fading->duration());
    }
    double alphaOfLabel()
    {
        endFading(label);
        return AnimatorProxy::alphaValue(label);
    }

    DragInfoImageView *hint = nullptr;
    QMimeData content;
};
