#pragma once

// The console's colours: the one place their values are written. The style sheet reaches them
// through its "$name" variables, code through these names.
namespace Corvel::Palette {

constexpr char Primary[] = "#FF6e21";
constexpr char DarkenPrimary[] = "#FF5B04";
constexpr char DeepDarkPrimary[] = "#e34e00";
constexpr char Secondary[] = "rgba(255, 110, 33, 0.08)";
constexpr char BrightRed[] = "#EE4327";
constexpr char Burgundy[] = "#9F3224";
constexpr char GradientMiddle[] = "#FF3C1f";
constexpr char GradientEnd[] = "#FF6D10";
constexpr char DustyBlue[] = "#69A3B9";
constexpr char Turquoise[] = "#6FCCCC";
constexpr char LightBlue[] = "#55BAE9";
constexpr char Black[] = "#000000";
constexpr char DarkGrey[] = "#3C3C46";
constexpr char Grey[] = "#878C96";
constexpr char Ash[] = "#C2C5CA";
constexpr char LightAsh[] = "#E1E1E1";
constexpr char PaleAsh[] = "#F0F1F3";
constexpr char LightGrey[] = "#F5F6F8";
constexpr char White[] = "#FAFAFA";
constexpr char PlainWhite[] = "#FFFFFF";
constexpr char Blue[] = "#4590FF";
constexpr char Gold[] = "#E8C900";
constexpr char Red[] = "#DB2C00";
constexpr char Green[] = "#8ACF81";
// A day of the date pop-up that has restore points.
constexpr char AvailableDay[] = "#FFE3D3";
// A value the operator has to correct.
constexpr char Error[] = "#E0301E";

} // namespace Corvel::Palette
