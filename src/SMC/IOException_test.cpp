#include "SMC/IOException.h"

#include <gtest/gtest.h>

#include <sstream>
#include <type_traits>

#include "Kx/Kx.h"
#include "SMC/SMCException.h"

namespace {

std::string description(int code) {
  return IOException("KxServiceOpen()", code).description();
}

TEST(IOExceptionTest, WithCode0TheDescriptionIsTheBareContext) {
  EXPECT_EQ(IOException("SMC result error during write", 0).description(),
            "SMC result error during write");
  EXPECT_EQ(description(kKxReturnSuccess), "KxServiceOpen()");
}

TEST(IOExceptionTest, AListedCodeIsNamed) {
  const auto code = [](unsigned int bits) { return static_cast<int>(bits); };
  EXPECT_EQ(description(code(0xE00002BC)), "KxServiceOpen(): error kKxReturnError");
  EXPECT_EQ(description(code(0xE00002C2)), "KxServiceOpen(): error kKxReturnBadArgument");
  EXPECT_EQ(description(code(0xE00002C5)), "KxServiceOpen(): error kKxReturnExclusiveAccess");
  EXPECT_EQ(description(code(0xE00002C7)), "KxServiceOpen(): error kKxReturnUnsupported");
  EXPECT_EQ(description(code(0xE00002C9)), "KxServiceOpen(): error kKxReturnInternalError");
  EXPECT_EQ(description(code(0xE00002CA)), "KxServiceOpen(): error kKxReturnIOError");
  EXPECT_EQ(description(code(0xE00002E2)), "KxServiceOpen(): error kKxReturnNotPermitted");
}

TEST(IOExceptionTest, AnUnlistedCodeIsPrintedInLowerCaseHexadecimal) {
  EXPECT_EQ(description(static_cast<int>(0xE00002D8)), "KxServiceOpen(): error e00002d8");
  EXPECT_EQ(description(1), "KxServiceOpen(): error 1");
  EXPECT_EQ(description(-1), "KxServiceOpen(): error ffffffff");
}

TEST(IOExceptionTest, TheStreamOperatorWritesTheDescriptionAndNothingElse) {
  std::ostringstream stream;
  stream << std::dec << IOException("KxServiceOpen()", 0x1F) << 10;
  EXPECT_EQ(stream.str(), "KxServiceOpen(): error 1f10");
}

TEST(IOExceptionTest, AnSMCExceptionIsCaughtAsAnIOException) {
  try {
    throw SMCException("KxServiceClose()", kKxReturnIOError);
  } catch (IOException& exception) {
    std::ostringstream stream;
    stream << exception;
    EXPECT_EQ(stream.str(), "KxServiceClose(): error kKxReturnIOError");
  }
}

static_assert(!std::is_polymorphic_v<IOException> && !std::is_polymorphic_v<SMCException>);
static_assert(sizeof(SMCException) == sizeof(IOException));

}  // namespace
