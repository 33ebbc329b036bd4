// The mail composer's screen: what the user sees of the message, and the three buttons that end
// the composer.

#include <algorithm>
#include <string>

#include "zukit/platform/mail/MFMailComposeViewController.h"
#include "zukit/platform/ui/UIButton.h"
#include "zukit/platform/ui/UIColor.h"
#include "zukit/platform/ui/UIFont.h"
#include "zukit/platform/ui/UILabel.h"
#include "zukit/platform/ui/UIScreen.h"

namespace zu {

namespace {

constexpr CGFloat kStatusBarHeight = 20;
constexpr CGFloat kBarHeight = 44;
constexpr CGFloat kRowHeight = 44;
constexpr CGFloat kInset = 16;
constexpr CGFloat kButtonWidth = 96;
constexpr CGFloat kHairline = 0.5;
constexpr CGFloat kFontSize = 17;
constexpr CGFloat kSmallFontSize = 15;

std::shared_ptr<UIButton> barButton(const char* title, bool bold, SEL action, const id& target) {
  auto button = std::make_shared<UIButton>(UIButtonTypeSystem);
  button->setTitle(title, UIControlStateNormal);
  button->setTitleColor(UIColor::systemBlueColor(), UIControlStateNormal);
  button->titleLabel()->setFont(bold ? UIFont::boldSystemFontOfSize(kFontSize)
                                     : UIFont::systemFontOfSize(kFontSize));
  button->addTarget(target, action, UIControlEventTouchUpInside);
  return button;
}

std::shared_ptr<UILabel> label(CGFloat size, bool bold = false) {
  auto made = std::make_shared<UILabel>(
      CGRectZero, bold ? UIFont::boldSystemFontOfSize(size) : UIFont::systemFontOfSize(size));
  made->setTextColor(UIColor::blackColor());
  return made;
}

std::shared_ptr<UIView> hairline() {
  auto line = std::make_shared<UIView>();
  line->setBackgroundColor(UIColor::colorWithWhite(0.8, 1));
  return line;
}

std::string joined(const std::vector<std::string>& items) {
  std::string out;
  for (const std::string& item : items) {
    if (!out.empty()) out += ", ";
    out += item;
  }
  return out;
}

std::string byteCount(std::size_t bytes) {
  if (bytes < 1024) return std::to_string(bytes) + " bytes";
  return std::to_string((bytes + 512) / 1024) + " KB";
}

}  // namespace

// The views of the screen that change with the message.
struct MFMailComposeViewController::Screen {
  std::shared_ptr<UIView> bar;
  std::shared_ptr<UIButton> cancelButton;
  std::shared_ptr<UIButton> sendButton;
  std::shared_ptr<UIButton> saveDraftButton;
  std::shared_ptr<UILabel> title;
  std::shared_ptr<UILabel> to;
  std::shared_ptr<UILabel> cc;
  std::shared_ptr<UILabel> subject;
  std::shared_ptr<UILabel> body;
  std::vector<std::shared_ptr<UIView>> separators;
  std::vector<std::shared_ptr<UILabel>> attachments;
};

void MFMailComposeViewController::ScreenDeleter::operator()(Screen* screen) const {
  std::default_delete<Screen>()(screen);
}

void MFMailComposeViewController::loadView() {
  auto container = std::make_shared<UIView>(UIScreen::mainScreen()->bounds());
  container->setBackgroundColor(UIColor::whiteColor());
  _screen.reset(new Screen());  // NOLINT(cppcoreguidelines-owning-memory): owned by _screen at once
  Screen& screen = *_screen;
  const id self = strongSelf();

  screen.bar = std::make_shared<UIView>();
  screen.bar->setBackgroundColor(UIColor::colorWithWhite(0.97, 1));
  container->addSubview(screen.bar);
  screen.cancelButton = barButton("Cancel", false, sel_registerName("cancelTapped:"), self);
  screen.sendButton = barButton("Send", true, sel_registerName("sendTapped:"), self);
  screen.saveDraftButton =
      barButton("Save Draft", false, sel_registerName("saveDraftTapped:"), self);
  screen.title = label(kFontSize, true);
  screen.title->setTextAlignment(NSTextAlignmentCenter);
  for (const auto& view : {std::static_pointer_cast<UIView>(screen.cancelButton),
                           std::static_pointer_cast<UIView>(screen.sendButton),
                           std::static_pointer_cast<UIView>(screen.title)}) {
    screen.bar->addSubview(view);
  }
  container->addSubview(screen.saveDraftButton);

  screen.to = label(kFontSize);
  screen.cc = label(kFontSize);
  screen.subject = label(kFontSize);
  screen.body = label(kFontSize);
  screen.body->setNumberOfLines(0);
  for (const auto& view : {screen.to, screen.cc, screen.subject, screen.body}) {
    container->addSubview(view);
  }
  for (int i = 0; i < 4; ++i) {
    screen.separators.push_back(hairline());
    container->addSubview(screen.separators.back());
  }
  setView(container);
  refreshScreen();
}

void MFMailComposeViewController::refreshScreen() {
  if (!_screen) return;
  Screen& screen = *_screen;
  screen.title->setText(_message.subject.empty() ? "New Message" : _message.subject);
  screen.to->setText("To: " + joined(_message.toRecipients));
  screen.cc->setText("Cc: " + joined(_message.ccRecipients));
  screen.cc->setHidden(_message.ccRecipients.empty());
  screen.subject->setText("Subject: " + _message.subject);
  screen.body->setText(_message.body);
  while (screen.attachments.size() < _message.attachments.size()) {
    auto row = label(kSmallFontSize);
    row->setTextColor(UIColor::darkGrayColor());
    view()->addSubview(row);
    screen.attachments.push_back(std::move(row));
  }
  for (std::size_t i = 0; i < _message.attachments.size(); ++i) {
    const MailAttachment& attachment = _message.attachments[i];
    screen.attachments[i]->setText("Attachment: " + attachment.fileName + " (" +
                                   byteCount(attachment.data.size()) + ")");
  }
  viewDidLayoutSubviews();
}

void MFMailComposeViewController::viewDidLayoutSubviews() {
  if (!_screen) return;
  Screen& screen = *_screen;
  const CGRect bounds = view()->bounds();
  const CGFloat width = bounds.size.width;
  const CGFloat textWidth = std::max<CGFloat>(width - 2 * kInset, 0);
  screen.bar->setFrame(CGRectMake(0, 0, width, kStatusBarHeight + kBarHeight));
  screen.cancelButton->setFrame(CGRectMake(0, kStatusBarHeight, kButtonWidth, kBarHeight));
  screen.sendButton->setFrame(
      CGRectMake(width - kButtonWidth, kStatusBarHeight, kButtonWidth, kBarHeight));
  screen.title->setFrame(CGRectMake(kButtonWidth, kStatusBarHeight,
                                    std::max<CGFloat>(width - 2 * kButtonWidth, 0), kBarHeight));

  CGFloat y = kStatusBarHeight + kBarHeight;
  std::size_t separator = 0;
  const auto row = [&](const std::shared_ptr<UILabel>& field) {
    if (field->isHidden()) return;
    field->setFrame(CGRectMake(kInset, y, textWidth, kRowHeight));
    y += kRowHeight;
    screen.separators[separator++]->setFrame(
        CGRectMake(kInset, y - kHairline, textWidth, kHairline));
  };
  row(screen.to);
  row(screen.cc);
  row(screen.subject);
  for (; separator < screen.separators.size() - 1; ++separator) {
    screen.separators[separator]->setFrame(CGRectZero);
  }

  const CGFloat bottom = bounds.size.height - kRowHeight;
  const CGFloat attachmentsHeight = kRowHeight * static_cast<CGFloat>(screen.attachments.size());
  // The body starts under the fields and is as tall as its text, within the room left.
  const CGFloat room = std::max<CGFloat>(bottom - attachmentsHeight - y - kInset, 0);
  const CGFloat bodyHeight =
      std::min(screen.body->sizeThatFits(CGSizeMake(textWidth, room)).height, room);
  screen.body->setFrame(CGRectMake(kInset, y + kInset / 2, textWidth, bodyHeight));
  y = bottom - attachmentsHeight;
  for (const auto& attachment : screen.attachments) {
    attachment->setFrame(CGRectMake(kInset, y, textWidth, kRowHeight));
    y += kRowHeight;
  }
  screen.separators.back()->setFrame(CGRectMake(0, bottom, width, kHairline));
  screen.saveDraftButton->setFrame(CGRectMake(0, bottom, kButtonWidth + 2 * kInset, kRowHeight));
}

}  // namespace zu
