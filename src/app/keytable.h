#pragma once

#include <QString>
#include <Qt>
#include <optional>

// Virtual key codes (positions on a US keyboard, in the classic numbering)
// to Qt keys, for the diagnostic key tokens only ("C18" is Ctrl+1, "S124"
// is Shift+Right): everywhere else the program names keys as Qt does.
namespace KeyTable {

struct Key
{
    Qt::Key key;
    bool keypad = false; // a key of the numeric keypad (Qt::KeypadModifier)
};

std::optional<Key> forVirtualCode(quint16 code);

// The text a key event carries for the codes that type one (comma, space);
// empty for every other key.
QString textForVirtualCode(quint16 code);

// Modifier bits of a key token's flag word: Shift is bit 17, Meta bit 18,
// Alt bit 19 and Ctrl bit 20 (the "C" of a token).
inline constexpr quint32 shiftBit = 1u << 17;
inline constexpr quint32 metaBit = 1u << 18;
inline constexpr quint32 altBit = 1u << 19;
inline constexpr quint32 ctrlBit = 1u << 20;
Qt::KeyboardModifiers modifiersForFlags(quint32 flags);

// Virtual key codes by name, for the codes the program refers to.
namespace Code {
inline constexpr quint16 a = 0, s = 1, p = 35, n = 45;
inline constexpr quint16 digit1 = 18, digit2 = 19, digit3 = 20, digit4 = 21, digit5 = 23, digit6 = 22, digit7 = 26,
                         digit8 = 28, digit9 = 25, digit0 = 29;
inline constexpr quint16 equal = 24, minus = 27, comma = 43;
inline constexpr quint16 returnKey = 36, keypadEnter = 76, space = 49, deleteKey = 51, forwardDelete = 117, escape = 53;
inline constexpr quint16 left = 123, right = 124, down = 125, up = 126;
} // namespace Code

} // namespace KeyTable
