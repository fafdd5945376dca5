#include "Host/LetterIcon.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>

namespace {

class LetterIconEngine final : public QIconEngine
{
public:
    explicit LetterIconEngine(QString letter)
        : m_letter(std::move(letter))
    {
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override
    {
        const QPalette palette = QGuiApplication::palette();
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const QRectF tile = QRectF(rect).adjusted(1, 1, -1, -1);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(palette.color(group, QPalette::Highlight));
        painter->drawRoundedRect(tile, tile.width() / 5, tile.height() / 5);
        QFont font = QGuiApplication::font();
        font.setPixelSize(std::max(1, int(tile.height() * 0.6)));
        font.setBold(true);
        painter->setFont(font);
        painter->setPen(palette.color(group, QPalette::HighlightedText));
        painter->drawText(tile, Qt::AlignCenter, m_letter);
        painter->restore();
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return pixmap;
    }

    QIconEngine *clone() const override { return new LetterIconEngine(m_letter); }

private:
    QString m_letter;
};

} // namespace

QIcon letterIcon(const QString &name)
{
    const bool isPair = !name.isEmpty() && name.front().isHighSurrogate();
    return QIcon(new LetterIconEngine(name.left(isPair ? 2 : 1).toUpper()));
}
