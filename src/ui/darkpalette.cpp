#include "ui/darkpalette.h"

QPalette darkPalette()
{
    QPalette p;
    const QColor window(0x2a, 0x2b, 0x2e);
    const QColor base(0x1e, 0x1f, 0x22);
    const QColor text(0xe6, 0xe6, 0xe6);
    const QColor dimText(0x8a, 0x8c, 0x90);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::ToolTipBase, base);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, dimText);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0x35, 0x36, 0x3a));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Light, QColor(0x4a, 0x4b, 0x50));
    p.setColor(QPalette::Midlight, QColor(0x3e, 0x3f, 0x44));
    p.setColor(QPalette::Mid, QColor(0x30, 0x31, 0x35));
    p.setColor(QPalette::Dark, QColor(0x18, 0x18, 0x1a));
    p.setColor(QPalette::Shadow, Qt::black);
    p.setColor(QPalette::Highlight, QColor(0x3d, 0xae, 0xe9));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, QColor(0x3d, 0xae, 0xe9));
    for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, dimText);
    return p;
}
