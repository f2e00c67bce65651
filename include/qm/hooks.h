// Hooks: what the library asks of its surroundings instead of doing it itself. It never opens a
// dialog and never sleeps on its own: both go through a hook of the calling thread, so that an
// application presents its own boxes and a test needs no screen and no real seconds.
//
// Without a presenter a notice is answered OK and a Yes/No question is answered No; without a
// waiter the thread sleeps.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include <qm/api.h>

namespace qm {

enum class MessageIcon {
  kNone = 0,
  kCritical = 16,
  kQuestion = 32,
  kWarning = 48,
  kInformation = 64
};
enum class MessageButtons { kOk = 0, kYesNo = 4 };
enum class MessageAnswer { kOk = 1, kYes = 6, kNo = 7 };

/// One message box as published. An empty title means that the box has none of its own: the
/// presenter shows the application name, or "QMDataObjects" when there is none.
struct Message {
  std::string text;
  MessageButtons buttons = MessageButtons::kOk;
  MessageIcon icon = MessageIcon::kNone;
  std::string title;
};

using MessagePresenter = std::function<MessageAnswer(const Message&)>;
using Waiter = std::function<void(std::chrono::milliseconds)>;

/// Sets the calling thread's presenter (empty: none) and returns the one it replaces.
QM_API MessagePresenter SetMessagePresenter(MessagePresenter presenter);
/// Sets the calling thread's waiter (empty: sleep) and returns the one it replaces.
QM_API Waiter SetWaiter(Waiter waiter);

QM_API MessageAnswer ShowMessage(const Message& message);
QM_API void Wait(std::chrono::milliseconds duration);

}  // namespace qm
