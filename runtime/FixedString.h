#pragma once
// Text composed at compile time: type signatures are joined from their parts so
// that every parameterized interface can carry its IID as a constant.
#include <cstddef>
#include <string_view>

namespace rt {

template <std::size_t N>
struct fixed_string {
    char chars[N + 1] = {};

    constexpr fixed_string() = default;
    constexpr fixed_string(const char (&text)[N + 1]) {
        for (std::size_t i = 0; i < N; ++i) chars[i] = text[i];
    }

    static constexpr std::size_t size() { return N; }
    constexpr std::string_view view() const { return {chars, N}; }
};

template <std::size_t M>
fixed_string(const char (&)[M]) -> fixed_string<M - 1>;

template <std::size_t A, std::size_t B>
constexpr fixed_string<A + B> operator+(const fixed_string<A>& left, const fixed_string<B>& right) {
    fixed_string<A + B> joined;
    for (std::size_t i = 0; i < A; ++i) joined.chars[i] = left.chars[i];
    for (std::size_t i = 0; i < B; ++i) joined.chars[A + i] = right.chars[i];
    return joined;
}

template <std::size_t A, std::size_t M>
constexpr fixed_string<A + M - 1> operator+(const fixed_string<A>& left, const char (&right)[M]) {
    return left + fixed_string<M - 1>(right);
}

template <std::size_t M, std::size_t B>
constexpr fixed_string<M - 1 + B> operator+(const char (&left)[M], const fixed_string<B>& right) {
    return fixed_string<M - 1>(left) + right;
}

}  // namespace rt
