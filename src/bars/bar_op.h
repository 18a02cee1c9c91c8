#pragma once

#include "frame/bar_inputs.h"
#include "frame/described.h"

namespace sarvane {

// The four prices of a bar and a value. Their order is that of the operator's inputs.
using BarInputs = std::array<double, 5>;
inline constexpr BarInputs NoInputs = {UndefinedValue, UndefinedValue, UndefinedValue, UndefinedValue, UndefinedValue};

struct BarRecord {
    int lastBar = 0;              // index of the last bar of the run, as `ResetBar` was told; nothing reads it
    BarInputs inputs = NoInputs;  // those of the last bar that was used
};

// The order of an operator's arguments and of its inputs.
struct BarFirst {
    static constexpr bool BarLeads = true;
    enum Input : short { Open, High, Low, Close, Value };

    static constexpr std::initializer_list<ArgumentDescription> Arguments = {
        Takes::Bar("bar", "prices", OhlcFields), Takes::Curve("value", "what each price is combined with")};
};

struct ValueFirst {
    static constexpr bool BarLeads = false;
    enum Input : short { Value, Open, High, Low, Close };

    static constexpr std::initializer_list<ArgumentDescription> Arguments = {
        Takes::Curve("value", "what each price is combined with"), Takes::Bar("bar", "prices", OhlcFields)};
};

template <class Order>
struct Sum : Order {
    static constexpr const char* Sentence = Order::BarLeads ? "a bar plus a value" : "a value plus a bar";
    static constexpr std::u16string_view Formula = u"(%s+%s)";
    static constexpr UnitKind Units = UnitKind::Curve;
    static constexpr bool Divides = false;
    static double Of(double price, double value) { return value + price; }
};

template <class Order>
struct Difference : Order {
    static constexpr const char* Sentence = Order::BarLeads ? "a bar less a value" : "a value less a bar";
    static constexpr std::u16string_view Formula = u"(%s-%s)";
    static constexpr UnitKind Units = UnitKind::Curve;
    static constexpr bool Divides = false;
    static double Of(double price, double value) { return Order::BarLeads ? price - value : value - price; }
};

template <class Order>
struct Product : Order {
    static constexpr const char* Sentence = Order::BarLeads ? "a bar times a value" : "a value times a bar";
    static constexpr std::u16string_view Formula = Order::BarLeads ? u"%s*%s" : u"(%s*%s)";
    static constexpr UnitKind Units = UnitKind::Product;
    static constexpr bool Divides = false;
    static double Of(double price, double value) { return value * price; }
};

template <class Order>
struct Quotient : Order {
    static constexpr const char* Sentence = Order::BarLeads ? "a bar divided by a value" : "a value divided by a bar";
    static constexpr std::u16string_view Formula = u"(%s/%s)";
    static constexpr UnitKind Units = UnitKind::Quotient;
    static constexpr bool Divides = true;  // divisors near zero leave outputs undefined
    static double Of(double price, double value) { return Order::BarLeads ? price / value : value / price; }
};

// Arithmetic between each price of a bar and a value; the result is a bar again. `Rule` says what one of these
// operators computes: the order of its arguments, its expression, its units and its arithmetic.
template <class Rule>
class CBarOp : public Described<CBarOp<Rule>, CDefZelmorOp2> {
    friend Described<CBarOp, CDefZelmorOp2>;
    static constexpr Description About = {
        .sentence = Rule::Sentence,
        .arguments = Rule::Arguments,
        .outputs = {{u"open", Rule::Units, "open of the result", DrawnAs::Line},
                    {u"high", Rule::Units, "high of the result", DrawnAs::Line},
                    {u"low", Rule::Units, "low of the result", DrawnAs::Line},
                    {u"close", Rule::Units, "close of the result", DrawnAs::Line}},
    };
    static std::u16string_view Formula() { return Rule::Formula; }
    static int ArgumentOf(short input) { return Rule::BarLeads ? (input < 4 ? 0 : input - 3) : input != 0; }
    static std::u16string_view FieldOf(short input) {
        const int price = input - Rule::Open;
        return price >= 0 && price < 4 ? OhlcFields[price] : u"";
    }
    static int Lookback() { return 0; }

public:
    STDMETHODIMP ResetBar(int mode, int lastBar, int count, const double* seed) override;
    STDMETHODIMP CalculateBar(int bar, int inputCount, const double* in, int outputCount, double* out) noexcept override;
    STDMETHODIMP GetBarFlagA(uint* flag) override { return Answer(flag, 0); }
    STDMETHODIMP GetBarFlagB(uint* flag) override { return Answer(flag, 1); }

private:
    // Whether a missing input repeats the one before. Restoring a snapshot does not change it.
    bool holdPrevious = false;
    StateStore<BarRecord> states;
};

using CBarAdd = CBarOp<Sum<BarFirst>>;
using CBarSub = CBarOp<Difference<BarFirst>>;
using CBarMul = CBarOp<Product<BarFirst>>;
using CBarDiv = CBarOp<Quotient<BarFirst>>;
using CSBarAdd = CBarOp<Sum<ValueFirst>>;
using CSBarSub = CBarOp<Difference<ValueFirst>>;
using CSBarMul = CBarOp<Product<ValueFirst>>;
using CSBarDiv = CBarOp<Quotient<ValueFirst>>;

}  // namespace sarvane
