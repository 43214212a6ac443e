#include "MivoraMac/platform/windows/KeySymbol.h"

#include <gtest/gtest.h>

using Mivora::platform::KeySymbol;

TEST(KeySymbolTest, modifiersAreThoseThatOnlyChangeOtherKeys) {
    for (const std::uint32_t symbol :
         {KeySymbol::ShiftLeft, KeySymbol::ControlRight, KeySymbol::CapsLock, KeySymbol::AltLeft,
          KeySymbol::SuperRight, KeySymbol::AltGraph, KeySymbol::NumLock}) {
        EXPECT_TRUE(KeySymbol::isModifier(symbol)) << symbol;
    }
    for (const std::uint32_t symbol :
         {KeySymbol::None, KeySymbol::Space, KeySymbol::Tab, KeySymbol::BackTab, KeySymbol::Return,
          KeySymbol::Delete, KeySymbol::F12, KeySymbol::KeypadEnd}) {
        EXPECT_FALSE(KeySymbol::isModifier(symbol)) << symbol;
    }
}
