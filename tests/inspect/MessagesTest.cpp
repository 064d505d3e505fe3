// The page of all messages, whether they apply or not, over facts that all differ.

#include "Messages.h"

#include "SampleFacts.h"

#include <gmock/gmock.h>

using namespace LauncherInspect;

namespace {

std::string shown(const Text& text) {
  std::string sentence;
  for (const Part& part : text.parts) {
    if (const auto* words = std::get_if<const char*>(&part))
      sentence += *words;
    else if (const auto* number = std::get_if<std::size_t>(&part))
      sentence += std::to_string(*number);
    else if (const auto* path = std::get_if<Fact<Path>>(&part))
      sentence += path->get().string();
    else if (const auto* inside = std::get_if<Inside>(&part))
      sentence += inside->path().string();
    else if (const auto* known = std::get_if<Fact<std::string>>(&part))
      sentence += known->get();
    else if (const auto* failure = std::get_if<Fact<std::optional<Failure>>>(&part))
      sentence += failure->get().value().path.string();
    else if (const auto* version = std::get_if<Version>(&part))
      sentence += firstComponents(version->text, version->components == 0 ? 9 : 2);
  }
  return sentence;
}

} // namespace

TEST(Messages, AreTheseSentences) {
  const Facts facts = test::everyFact();
  std::string page;
  for (const auto& [member, topic] : allTopics()) {
    for (const auto& [code, applies, text, remedy] : topic(facts, facts.decisions.candidates[2])) {
      page += std::string(member) + " " + code + ": " + shown(text) + "\n";
      if (!remedy.parts.empty())
        page += "  -> " + shown(remedy) + "\n";
    }
  }
  EXPECT_EQ(page, test::expectedPage("messages.txt"));
}
