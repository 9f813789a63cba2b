#include "platform/text/ErrorDescription.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

using platform::describe;

TEST(ErrorDescription, GivesTheWordsOfTheErrorAndNeverStaysSilent) {
    EXPECT_EQ(describe(std::runtime_error("no \"caf\xE9\"")), "no \"caf\uFFFD\"");
    EXPECT_EQ(describe(std::make_exception_ptr(std::out_of_range("too far"))), "too far");
    EXPECT_EQ(describe(std::runtime_error("")), "An unknown error occurred");
    EXPECT_EQ(describe(std::make_exception_ptr(7)), "An unknown error occurred");
    EXPECT_EQ(describe(std::exception_ptr()), "An unknown error occurred");
    EXPECT_EQ(describe(std::bad_alloc()), "There is not enough memory");
}
