#include "dialogs/options/option_rules.h"

namespace qbrk {

int UploadUnitIndex(uint32_t bytes) {
  for (size_t i = 0; i < kUploadUnitChoices.size(); ++i) {
    if (kUploadUnitChoices[i].bytes == bytes) return static_cast<int>(i);
  }
  return UploadUnitIndex(kFallbackUploadUnit);
}

uint32_t UploadUnitAt(int index) {
  if (index < 0 || static_cast<size_t>(index) >= kUploadUnitChoices.size())
    return kFallbackUploadUnit;
  return kUploadUnitChoices[static_cast<size_t>(index)].bytes;
}

InitialFocus ChooseInitialFocus(const std::string& mail_address, uint32_t remember_password) {
  if (remember_password == 0) return InitialFocus::kPassword;
  if (mail_address.empty()) return InitialFocus::kMailAddress;
  return InitialFocus::kDialogDefault;
}

SignInTexts SignInTextsFor(bool proxy) {
  if (proxy) {
    return {"Qbrookツール－プロキシ認証", "ユーザー名とパスワードを入力してください｡",
            "ユーザー名(&A)"};
  }
  return {"Qbrookツール－認証", "メールアドレスとパスワードを入力してください｡",
          "メールアドレス(&A)"};
}

void NotifyAnimation(HostWindow& host, uint32_t animation) {
  if (animation != 0)
    host.PostCommand(IDC_HOST_ANIMATION_ON, 1);
  else
    host.PostCommand(IDC_HOST_ANIMATION_OFF, 0);
}

}  // namespace qbrk
