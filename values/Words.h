#pragma once

#include <optional>
#include <string>
#include <vector>

namespace pyrelux {

/// A value of an enumeration and the word that people write for it.
template <typename Value>
struct Word {
  const char *word;
  Value value;
};

/// The words of one enumeration, each value once.
template <typename Value>
using Words = std::vector<Word<Value>>;

template <typename Value>
std::vector<std::string> wordsOf(const Words<Value> &words) {
  std::vector<std::string> texts;
  for (const auto &[word, value] : words) texts.push_back(word);
  return texts;
}

/// The value of a word; nothing for a word that is not there.
template <typename Value>
std::optional<Value> valueOf(const Words<Value> &words, const std::string &text) {
  for (const auto &[word, value] : words)
    if (text == word) return value;
  return std::nullopt;
}

/// The word for a value that is there.
template <typename Value>
const char *wordFor(const Words<Value> &words, Value wanted) {
  for (const auto &[word, value] : words)
    if (value == wanted) return word;
  return "";
}

}  // namespace pyrelux
