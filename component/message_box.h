// The library's messages in the platform's message boxes, with the published icon, buttons, title
// and text. The thread waits for the answer.
//
// A host without a user interface switches them off with the environment variable
// QMDATAOBJECTS2_NO_MESSAGES set to anything but 0: a notice is then answered OK, a Yes/No question
// No.
#pragma once

namespace qm::component {

/// For the calling thread, until its state ends.
void ShowMessagesInBoxes();

}  // namespace qm::component
