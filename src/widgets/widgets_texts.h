#pragma once

// The labels of the shared controls, exactly as the product fixes them (operators and tests find controls
// by them). Odd wording is the product's own and kept on purpose.
namespace CorvelWidgets::WidgetsTexts {

constexpr char Close[] = "Close";
constexpr char Corvel[] = "Corvel";
constexpr char Version[] = "Version: ";
constexpr char LogOut[] = "Log out";
constexpr char Check[] = "Check";
constexpr char ShareUsername[] = "NETWORK SHARE USERNAME:";
constexpr char SharePassword[] = "NETWORK SHARE PASSWORD:";
constexpr char Location[] = "LOCATION:";
constexpr char Browse[] = "Browse";
constexpr char PreviousDay[] = "Previous Day";
constexpr char NextDay[] = "Next Day";

} // namespace CorvelWidgets::WidgetsTexts
