#pragma once

#include "system/loginitem.h"

// The login item's questions as message boxes that do not block: each one
// answers through its callback when the user closes it.
class DialogLoginPrompts final : public LoginPrompts
{
public:
    void showRegistrationError(const QString &title, const QString &detail,
                               std::function<void(bool openLoginItems)> answer) override;
    void showGuide(std::function<void(GuideChoice)> answer) override;
    void openLoginItems(const QString &autostartFolder) override;
};
