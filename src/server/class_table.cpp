#include "server/class_table.h"

#include "averages/adap_avg_op.h"
#include "averages/exp_avg_op.h"
#include "averages/sim_avg_op.h"
#include "averages/smo_avg_op.h"
#include "averages/time_avg_op.h"
#include "averages/trix_op.h"
#include "averages/weighted_avg_op.h"
#include "bars/bar_op.h"
#include "bars/vol_stop_op.h"
#include "expansion/de_m_op.h"
#include "expansion/td_rebo_op.h"
#include "expansion/tdrei_op.h"
#include "kase/kase_ccss_op.h"
#include "kase/kase_peak_osc_op.h"
#include "kase/kase_perm_stoch_op.h"
#include "oscillators/cg_osc_op.h"
#include "oscillators/kalman_filter_op.h"
#include "oscillators/macdx_op.h"
#include "oscillators/stoch_x_op.h"
#include "sarvane/class_ids.h"
#include "statistics/correl_op.h"
#include "statistics/count_operator.h"
#include "statistics/event_offset.h"
#include "statistics/hi_lo_lev_op.h"
#include "statistics/mean_deviation_op.h"
#include "statistics/median_op.h"
#include "statistics/middle_op.h"
#include "statistics/over_lap_op.h"
#include "statistics/rank_op.h"
#include "statistics/sample_op.h"
#include "statistics/sqrt_dev_op.h"
#include "statistics/std_dev_op.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace sarvane {
namespace {

template <class Operator>
constexpr ClassEntry Class(const GUID& id, const char* name, const char* keyword, int scriptId,
                           CreateFunction create = &Create<Operator>) {
    return {
        id, name, keyword, scriptId, std::is_base_of_v<IZelmorOp2, Operator>, create, &Operator::ClassDescription()};
}

template <class Operator>
constexpr ClassEntry ClassWithoutAggregation(const GUID& id, const char* name, const char* keyword, int scriptId) {
    return Class<Operator>(id, name, keyword, scriptId, &CreateAlone<Operator>);
}

constexpr ClassEntry Table[] = {
    Class<CMedianOp>(ClassId::MedianOp, "MedianOp", "MedOp", 132),
    Class<CSBarMul>(ClassId::SBarMul, "SBarMul", "SBarMul", 131),
    Class<CSBarAdd>(ClassId::SBarAdd, "SBarAdd", "SBarAdd", 130),
    Class<CSBarDiv>(ClassId::SBarDiv, "SBarDiv", "SBarDiv", 129),
    Class<CSBarSub>(ClassId::SBarSub, "SBarSub", "SBarSub", 128),
    Class<CBarDiv>(ClassId::BarDiv, "BarDiv", "BarDiv", 127),
    Class<CBarMul>(ClassId::BarMul, "BarMul", "BarMul", 126),
    Class<CBarSub>(ClassId::BarSub, "BarSub", "BarSub", 125),
    Class<CBarAdd>(ClassId::BarAdd, "BarAdd", "BarAdd", 124),
    Class<CSampleOp>(ClassId::SampleOp, "SampleOp", "Samp", 123),
    Class<CTDReboOp>(ClassId::TDReboOp, "TDReboOp", "TDREBO", 122),
    Class<CTDREIOp>(ClassId::TDREIOp, "TDREIOp", "TDREIOP", 121),
    Class<CMiddleOp>(ClassId::MiddleOp, "MiddleOp", "Middle", 104),
    Class<CCorrelOp>(ClassId::CorrelOp, "CorrelOp", "Correl", 105),
    Class<CSimAvgOp>(ClassId::SimAvgOp, "SimAvgOp", "Sim", 101),
    Class<CSmoAvgOp>(ClassId::SmoAvgOp, "SmoAvgOp", "Smo", 102),
    Class<CExpAvgOp>(ClassId::ExpAvgOp, "ExpAvgOp", "Exp", 103),
    Class<CHiLevOp>(ClassId::HiLevOp, "HiLevOp", "HiLev", 106),
    Class<CLoLevOp>(ClassId::LoLevOp, "LoLevOp", "LoLev", 107),
    Class<CSqrtDevOp>(ClassId::SqrtDevOp, "SqrtDevOp", "DevSqrt", 108),
    Class<CRankOp>(ClassId::RankOp, "RankOp", "Ranking", 109),
    Class<CAdapAvgOp>(ClassId::AdapAvgOp, "AdapAvgOp", "AMAOp", 110),
    ClassWithoutAggregation<CTrixOp>(ClassId::TrixOp, "TrixOp", "Trix", 111),
    Class<COverLapOp>(ClassId::OverLapOp, "OverLapOp", "OverlapCntOp", 112),
    Class<CKasePeakOscOp>(ClassId::KasePeakOscOp, "KasePeakOscOp", "KasePeakOsc", 114),
    Class<CKasePermStochOp>(ClassId::KasePermStochOp, "KasePermStochOp", "KasePermStoch", 113),
    Class<CKaseCCSSOp>(ClassId::KaseCCSSOp, "KaseCCSSOp", "KaseCCSS", 115),
    Class<CVolStopOp>(ClassId::VolStopOp, "VolStopOp", "VolStop", 116),
    Class<CStochXOp>(ClassId::StochXOp, "StochXOp", "StochXOp", 117),
    Class<CStdDevOp>(ClassId::StdDevOp, "StdDevOp", "SDev", 118),
    Class<CDeMOp>(ClassId::DeMOp, "DeMOp", "DeMOp", 119),
    Class<CWeightedAvgOp>(ClassId::WeightedAvgOp, "WeightedAvgOp", "Wei", 133),
    Class<CEventOffset>(ClassId::EventOffset, "EventOffset", "EventOffsetOp", 134),
    Class<CCountOperator>(ClassId::CountOperator, "CountOperator", "CountOp", 135),
    Class<CMeanDeviationOp>(ClassId::MeanDeviationOp, "MeanDeviationOp", "MeanDev", 136),
    Class<CMACDXOp>(ClassId::MACDXOp, "MACDXOp", "MACDXOp", 137),
    Class<CTimeAvgOp>(ClassId::TimeAvgOp, "TimeAvgOp", "TimeAvg", 140),
    Class<CCGOscOp>(ClassId::CGOscOp, "CGOscOp", "CGOscOp", 141),
    Class<CKalmanFilterOp>(ClassId::KalmanFilterOp, "KalmanFilterOp", "KalmanFilter", 142),
    Class<CTriAvgOp>(ClassId::TriAvgOp, "TriAvgOp", "TriAvg", 143),
    Class<CExHullAvgOp>(ClassId::ExHullAvgOp, "ExHullAvgOp", "ExHull", 144),
};

// On Windows the system's comparison of GUIDs can't be used at compile time.
constexpr bool IsSameId(const GUID& a, const GUID& b) {
    using Halves = std::array<std::uint64_t, 2>;
    return std::bit_cast<Halves>(a) == std::bit_cast<Halves>(b);
}

constexpr bool IsConsistent() {
    for (const ClassEntry& a : Table) {
        for (const ClassEntry& b : Table) {
            const bool clash = IsSameId(a.id, b.id) || a.scriptId == b.scriptId || std::string_view(a.name) == b.name ||
                               std::string_view(a.keyword) == b.keyword;
            if (&a != &b && clash) return false;
        }
    }
    return std::size(Table) == ClassCount;
}
static_assert(IsConsistent(), "every class has an id, a name, a keyword and a script id of its own");

// Hosts go through ClassId::All to find all classes.
constexpr bool IsListedForClients() {
    const auto isOf = [](const GUID& id, const ClassEntry& entry) { return IsSameId(id, entry.id); };
    return std::ranges::equal(ClassId::All, Table, isOf);
}
static_assert(IsListedForClients(), "ClassId::All holds the ids of this table in its order");

}  // namespace

std::span<const ClassEntry> ClassTable() { return Table; }

}  // namespace sarvane
