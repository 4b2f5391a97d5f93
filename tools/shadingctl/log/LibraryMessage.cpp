#include "tools/shadingctl/log/LibraryMessage.h"

#include <string>
#include <type_traits>
#include <utility>

#include "tools/shadingctl/log/LineCursor.h"

namespace shadingctl {
namespace {

constexpr std::size_t kMessages = std::variant_size_v<LibraryMessage> - 2;  // without unrelated and damaged ones

// Reads a text by the pattern that wrote it.
class PatternReader {
 public:
  PatternReader(std::string_view text, std::string_view pattern) : mText(text), mPattern(pattern) {}

  // The next number, of the type of the member that it initialises.
  template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
  operator Number() {
    std::size_t const length = mPattern.find("{}");
    Number number{};
    mFits = mFits && mText.Skip(mPattern.substr(0, length)) && mText.Take(number);
    if (mFits) mPattern.remove_prefix(length + 2);
    return number;
  }

  // Whether all of the text was the pattern, with numbers in place of each "{}".
  bool IsRead() const { return mFits && mText.Rest() == mPattern; }

 private:
  LineCursor mText;
  std::string_view mPattern;
  bool mFits = true;
};

// In braces, members are initialised from front to back.
template <class Message, std::size_t... kMember>
Message Read(PatternReader& reader, std::index_sequence<kMember...> /*members*/) {
  return Message{(static_cast<void>(kMember), reader)...};
}

constexpr std::size_t CountNumbers(std::string_view pattern) {
  std::size_t count = 0;
  for (char const c : pattern) count += c == '{' ? 1 : 0;
  return count;
}

template <class Message>
bool TryAs(std::string_view operation, std::string_view text, LibraryMessage& message) {
  constexpr MessageText kText = Message::kText;
  if (operation != kText.Operation()) return false;
  if (kText.kind == MessageKind::kWarning) text = text.substr(0, text.rfind(" (" + std::string(operation)));
  PatternReader reader(text, kText.Text());
  auto const read = Read<Message>(reader, std::make_index_sequence<CountNumbers(kText.pattern)>());
  message = DamagedMessage{};  // unless it fits here or later
  if (reader.IsRead()) message = read;
  return reader.IsRead();
}

template <std::size_t... kMessage>
LibraryMessage TryAll(std::string_view operation, std::string_view text, std::index_sequence<kMessage...> /*all*/) {
  LibraryMessage message = UnrelatedMessage{};
  static_cast<void>((TryAs<std::variant_alternative_t<kMessage, LibraryMessage>>(operation, text, message) || ...));
  return message;
}

}  // namespace

LibraryMessage ParseMessage(std::string_view message) {
  std::size_t const end = message.find("] ");
  if (message.empty() || message.front() != '[' || end == std::string_view::npos) return UnrelatedMessage{};
  LibraryMessage const parsed =
      TryAll(message.substr(1, end - 1), message.substr(end + 2), std::make_index_sequence<kMessages>());
  // The message of a position begins like this warning, which comes only where one of the vectors is empty.
  auto const* const noPosition = std::get_if<NoPositionTold>(&parsed);
  if (noPosition != nullptr && noPosition->sizeX > 0 && noPosition->sizeY > 0) return DamagedMessage{};
  return parsed;
}

}  // namespace shadingctl
