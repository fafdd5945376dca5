#include <QClipboard>
#include <QGuiApplication>

#include <cstdio>

/// Prints the text that another program has put on the clipboard of the display.
int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    const QByteArray text = QGuiApplication::clipboard()->text().toUtf8();
    std::fwrite(text.constData(), 1, std::size_t(text.size()), stdout);
    return text.isEmpty() ? 1 : 0;
}
