#pragma once

#include "math/MathError.h"

#include <gtest/gtest.h>

#include <exception>
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
