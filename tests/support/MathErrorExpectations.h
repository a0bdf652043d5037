#pragma once

#include "math/MathError.h"

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <initializer_list>
#include <typeinfo>

/// Expects that `statement` throws a MathError whose text is exactly `text`.
#define EXPECT_MATH_ERROR(statement, text)                                                 \
    do {                                                                                   \
        try {                                                                              \
            statement;                                                                     \
            ADD_FAILURE() << #statement " throws nothing, expected MathError: " << (text); \
        } catch (MathError const& mathError) {                                             \
            EXPECT_STREQ(mathError.what(), (text)) << "thrown by " #statement;             \
        } catch (std::exception const& otherError) {                                       \
            ADD_FAILURE() << #statement " throws " << typeid(otherError).name() << ": "    \
                          << otherError.what() << ", expected MathError: " << (text);      \
        }                                                                                  \
    } while (false)

/// Expects of each of `calls` that it throws a MathError whose text is exactly `text`.
inline void expectMathErrors(char const* text, std::initializer_list<std::function<void()>> calls,
                             char const* file = __builtin_FILE(), int line = __builtin_LINE())
{
    int index = 0;
    for (auto const& call : calls) {
        testing::ScopedTrace const place(file, line, testing::Message() << "call " << ++index);
        EXPECT_MATH_ERROR(call(), text);
    }
}
