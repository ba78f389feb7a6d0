#pragma once

// Included by every source of a mutated copy: see mutate.py.

#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace mutation {

inline constexpr int kNumbers = 200000;

/// By a mutant's number: its place in the program has been passed.
inline unsigned char Reached[kNumbers];

inline int Active() {
  static const int active = [] {
    const char* const text = std::getenv("FENWRIGHT_MUTANT");
    return text ? std::atoi(text) : -1;
  }();
  return active;
}

/// Whether the program is to behave as mutant `number` does.
inline bool On(int number) {
  Reached[number] = 1;
  return number == Active();
}

#define MUTATION_OPERATOR(name, original, mutated)                \
  template <typename Left, typename Right>                        \
  auto name(int number, Left&& left, Right&& right) {             \
    using Result = decltype(left original right);                 \
    return On(number) ? static_cast<Result>(left mutated right)   \
                      : static_cast<Result>(left original right); \
  }

MUTATION_OPERATOR(Less, <, <=)
MUTATION_OPERATOR(LessEqual, <=, <)
MUTATION_OPERATOR(Greater, >, >=)
MUTATION_OPERATOR(GreaterEqual, >=, >)
MUTATION_OPERATOR(Equal, ==, !=)
MUTATION_OPERATOR(NotEqual, !=, ==)
MUTATION_OPERATOR(Plus, +, -)
MUTATION_OPERATOR(Minus, -, +)
MUTATION_OPERATOR(Times, *, +)
MUTATION_OPERATOR(Over, /, *)
MUTATION_OPERATOR(Modulo, %, +)
MUTATION_OPERATOR(And, &, |)
MUTATION_OPERATOR(Or, |, &)
MUTATION_OPERATOR(Xor, ^, &)
MUTATION_OPERATOR(ShiftLeft, <<, >>)
MUTATION_OPERATOR(ShiftRight, >>, <<)

#undef MUTATION_OPERATOR

template <typename Value>
struct IsOptional : std::false_type {};
template <typename Value>
struct IsOptional<std::optional<Value>> : std::true_type {};

/// A returned value, changed when the mutant is active.
template <typename Value>
std::remove_cvref_t<Value> Changed(int number, Value&& value) {
  using Type = std::remove_cvref_t<Value>;
  if (!On(number)) return value;
  if constexpr (std::is_same_v<Type, bool>) {
    return !value;
  } else if constexpr (std::is_arithmetic_v<Type>) {
    return static_cast<Type>(value + 1);
  } else if constexpr (std::is_pointer_v<Type>) {
    return nullptr;
  } else if constexpr (IsOptional<Type>::value) {
    return std::nullopt;
  } else if constexpr (std::is_same_v<Type, std::string_view>) {
    return value.empty() ? std::string_view("~") : std::string_view();
  } else {
    static_assert(std::is_same_v<Type, std::string>);
    return std::string(value) + "~";
  }
}

}  // namespace mutation
