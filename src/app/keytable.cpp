#include "app/keytable.h"

#include <QHash>

namespace KeyTable {

namespace {

const QHash<quint16, Key> &table()
{
    static const QHash<quint16, Key> keys = {
        {0, {Qt::Key_A}},
        {1, {Qt::Key_S}},
        {2, {Qt::Key_D}},
        {3, {Qt::Key_F}},
        {4, {Qt::Key_H}},
        {5, {Qt::Key_G}},
        {6, {Qt::Key_Z}},
        {7, {Qt::Key_X}},
        {8, {Qt::Key_C}},
        {9, {Qt::Key_V}},
        {11, {Qt::Key_B}},
        {12, {Qt::Key_Q}},
        {13, {Qt::Key_W}},
        {14, {Qt::Key_E}},
        {15, {Qt::Key_R}},
        {16, {Qt::Key_Y}},
        {17, {Qt::Key_T}},
        {18, {Qt::Key_1}},
        {19, {Qt::Key_2}},
        {20, {Qt::Key_3}},
        {21, {Qt::Key_4}},
        {22, {Qt::Key_6}},
        {23, {Qt::Key_5}},
        {24, {Qt::Key_Equal}},
        {25, {Qt::Key_9}},
        {26, {Qt::Key_7}},
        {27, {Qt::Key_Minus}},
        {28, {Qt::Key_8}},
        {29, {Qt::Key_0}},
        {30, {Qt::Key_BracketRight}},
        {31, {Qt::Key_O}},
        {32, {Qt::Key_U}},
        {33, {Qt::Key_BracketLeft}},
        {34, {Qt::Key_I}},
        {35, {Qt::Key_P}},
        {36, {Qt::Key_Return}},
        {37, {Qt::Key_L}},
        {38, {Qt::Key_J}},
        {39, {Qt::Key_Apostrophe}},
        {40, {Qt::Key_K}},
        {41, {Qt::Key_Semicolon}},
        {42, {Qt::Key_Backslash}},
        {43, {Qt::Key_Comma}},
        {44, {Qt::Key_Slash}},
        {45, {Qt::Key_N}},
        {46, {Qt::Key_M}},
        {47, {Qt::Key_Period}},
        {48, {Qt::Key_Tab}},
        {49, {Qt::Key_Space}},
        {50, {Qt::Key_QuoteLeft}},
        {51, {Qt::Key_Backspace}},
        {53, {Qt::Key_Escape}},
        {55, {Qt::Key_Control}},
        {56, {Qt::Key_Shift}},
        {57, {Qt::Key_CapsLock}},
        {58, {Qt::Key_Alt}},
        {59, {Qt::Key_Meta}},
        {60, {Qt::Key_Shift}},
        {61, {Qt::Key_Alt}},
        {62, {Qt::Key_Meta}},
        {65, {Qt::Key_Period, true}},
        {67, {Qt::Key_Asterisk, true}},
        {69, {Qt::Key_Plus, true}},
        {71, {Qt::Key_Clear, true}},
        {75, {Qt::Key_Slash, true}},
        {76, {Qt::Key_Enter, true}},
        {78, {Qt::Key_Minus, true}},
        {81, {Qt::Key_Equal, true}},
        {82, {Qt::Key_0, true}},
        {83, {Qt::Key_1, true}},
        {84, {Qt::Key_2, true}},
        {85, {Qt::Key_3, true}},
        {86, {Qt::Key_4, true}},
        {87, {Qt::Key_5, true}},
        {88, {Qt::Key_6, true}},
        {89, {Qt::Key_7, true}},
        {91, {Qt::Key_8, true}},
        {92, {Qt::Key_9, true}},
        {96, {Qt::Key_F5}},
        {97, {Qt::Key_F6}},
        {98, {Qt::Key_F7}},
        {99, {Qt::Key_F3}},
        {100, {Qt::Key_F8}},
        {101, {Qt::Key_F9}},
        {103, {Qt::Key_F11}},
        {105, {Qt::Key_F13}},
        {106, {Qt::Key_F16}},
        {107, {Qt::Key_F14}},
        {109, {Qt::Key_F10}},
        {111, {Qt::Key_F12}},
        {113, {Qt::Key_F15}},
        {114, {Qt::Key_Help}},
        {115, {Qt::Key_Home}},
        {116, {Qt::Key_PageUp}},
        {117, {Qt::Key_Delete}},
        {118, {Qt::Key_F4}},
        {119, {Qt::Key_End}},
        {120, {Qt::Key_F2}},
        {121, {Qt::Key_PageDown}},
        {122, {Qt::Key_F1}},
        {123, {Qt::Key_Left}},
        {124, {Qt::Key_Right}},
        {125, {Qt::Key_Down}},
        {126, {Qt::Key_Up}},
    };
    return keys;
}

} // namespace

std::optional<Key> forVirtualCode(quint16 code)
{
    const auto it = table().constFind(code);
    if (it == table().constEnd())
        return std::nullopt;
    return *it;
}

QString textForVirtualCode(quint16 code)
{
    if (code == Code::comma)
        return QStringLiteral(",");
    if (code == Code::space)
        return QStringLiteral(" ");
    // Letters and digits type themselves (lower case; Shift is the caller's).
    if (const auto key = forVirtualCode(code)) {
        if (key->key >= Qt::Key_A && key->key <= Qt::Key_Z)
            return QChar(u'a' + (key->key - Qt::Key_A));
        if (key->key >= Qt::Key_0 && key->key <= Qt::Key_9 && !key->keypad)
            return QChar(u'0' + (key->key - Qt::Key_0));
    }
    return {};
}

Qt::KeyboardModifiers modifiersForFlags(quint32 flags)
{
    Qt::KeyboardModifiers modifiers;
    if (flags & shiftBit)
        modifiers |= Qt::ShiftModifier;
    if (flags & ctrlBit)
        modifiers |= Qt::ControlModifier;
    if (flags & altBit)
        modifiers |= Qt::AltModifier;
    if (flags & metaBit)
        modifiers |= Qt::MetaModifier;
    return modifiers;
}

} // namespace KeyTable
