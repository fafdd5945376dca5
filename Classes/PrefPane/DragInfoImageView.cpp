#include "Classes/PrefPane/DragInfoImageView.h"

#include <QEvent>
#include <QPainter>

static constexpr int kSide = 56;
static constexpr int kRoomToMove = 6; // more than any animation takes the picture from its place
static constexpr double kLineWidth = 3.5;

DragInfoImageView::DragInfoImageView(QWidget *parent)
    : QWidget(parent)
    , m_middle(m_root.addSublayer(std::make_unique<Layer>()))
    , m_picture(m_middle->addSublayer(std::make_unique<Layer>()))
{
    m_root.setNeedsDisplayHandler([this] { update(); });
    m_picture->setBounds({0, 0, kSide, kSide});
    m_picture->setMasksToBounds(true);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    drawPicture();
}

QSize DragInfoImageView::sizeHint() const
{
    return {kSide + 2 * kRoomToMove, kSide + 2 * kRoomToMove};
}

/// An arrow that goes down into a tray, in the colour of what is chosen.
void DragInfoImageView::drawPicture()
{
    QPixmap picture(QSize(kSide, kSide) * devicePixelRatioF());
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::Highlight), kLineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const double middle = kSide / 2.0;
    painter.drawLine(QPointF(middle, 6), QPointF(middle, 34));
    painter.drawPolyline(QPolygonF({{middle - 11, 23}, {middle, 34}, {middle + 11, 23}}));
    painter.drawPolyline(QPolygonF({{7, 34}, {7, 48}, {kSide - 7.0, 48}, {kSide - 7.0, 34}}));
    painter.end();
    m_picture->setContents(picture);
}

void DragInfoImageView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    m_root.paintSublayers(painter, height());
}

void DragInfoImageView::resizeEvent(QResizeEvent *)
{
    m_middle->setPosition({width() / 2.0, height() / 2.0});
}

void DragInfoImageView::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        drawPicture();
}
