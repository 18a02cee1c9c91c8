#pragma once

#include "sarvane/identifier.h"

namespace sarvane {

// The component category under which every class is registered, so that a host can list them.
inline constexpr GUID CategoryId = "E58DB2B8-A6CE-4C0D-84DE-AE9FFD6379AF"_id;

// The type library SARVANELib, version 1.0, which DllRegisterServer registers.
inline constexpr GUID TypeLibraryId = "401BF93A-A946-11D1-B1A9-0000C0D9BDE9"_id;

// One id for each class, with the keyword that calls its operator in an expression.
namespace ClassId {

inline constexpr GUID MedianOp = "90A8F073-8F16-11D2-8EE8-00E02910366C"_id;         // MedOp
inline constexpr GUID SBarMul = "5900DCC6-79BC-11D2-8ED7-00E02910366C"_id;          // SBarMul
inline constexpr GUID SBarAdd = "5900DCC3-79BC-11D2-8ED7-00E02910366C"_id;          // SBarAdd
inline constexpr GUID SBarDiv = "F502AF66-7999-11D2-8ED5-00E02910366C"_id;          // SBarDiv
inline constexpr GUID SBarSub = "F502AF63-7999-11D2-8ED5-00E02910366C"_id;          // SBarSub
inline constexpr GUID BarDiv = "5F82D06E-76B7-11D2-8ED4-00E02910366C"_id;           // BarDiv
inline constexpr GUID BarMul = "5F82D06B-76B7-11D2-8ED4-00E02910366C"_id;           // BarMul
inline constexpr GUID BarSub = "5F82D068-76B7-11D2-8ED4-00E02910366C"_id;           // BarSub
inline constexpr GUID BarAdd = "5F82D063-76B7-11D2-8ED4-00E02910366C"_id;           // BarAdd
inline constexpr GUID SampleOp = "BD9B3CB4-1C13-11D2-8048-006008579EB8"_id;         // Samp
inline constexpr GUID TDReboOp = "2303E345-45FB-11D2-8054-006008579EB8"_id;         // TDREBO
inline constexpr GUID TDREIOp = "7C4D7D42-4440-11D2-8053-006008579EB8"_id;          // TDREIOP
inline constexpr GUID MiddleOp = "7C28D0E5-EFDE-11D1-A034-006097D2E264"_id;         // Middle
inline constexpr GUID CorrelOp = "4052C455-EFEF-11D1-A035-006097D2E264"_id;         // Correl
inline constexpr GUID SimAvgOp = "401BF948-A946-11D1-B1A9-0000C0D9BDE9"_id;         // Sim
inline constexpr GUID SmoAvgOp = "DA9FE3B3-A96C-11D1-B1A9-0000C0D9BDE9"_id;         // Smo
inline constexpr GUID ExpAvgOp = "DA9FE3B5-A96C-11D1-B1A9-0000C0D9BDE9"_id;         // Exp
inline constexpr GUID HiLevOp = "8D2A28D8-010A-11D2-A05F-006097D2E264"_id;          // HiLev
inline constexpr GUID LoLevOp = "8D2A28D5-010A-11D2-A05F-006097D2E264"_id;          // LoLev
inline constexpr GUID SqrtDevOp = "DB441415-044E-11D2-A063-006097D2E264"_id;        // DevSqrt
inline constexpr GUID RankOp = "DB441418-044E-11D2-A063-006097D2E264"_id;           // Ranking
inline constexpr GUID AdapAvgOp = "22CDE265-F923-11D1-A045-006097D2E264"_id;        // AMAOp
inline constexpr GUID TrixOp = "C5752EE5-FB9A-11D1-A047-006097D2E264"_id;           // Trix
inline constexpr GUID OverLapOp = "62C48674-002E-11D2-A056-006097D2E264"_id;        // OverlapCntOp
inline constexpr GUID KasePeakOscOp = "43A6F3F4-1632-11D2-9DBB-00609723FA17"_id;    // KasePeakOsc
inline constexpr GUID KasePermStochOp = "6FEC9CD7-14A0-11D2-9DBA-00609723FA17"_id;  // KasePermStoch
inline constexpr GUID KaseCCSSOp = "220CA6C5-1AE0-11D2-9DC3-00609723FA17"_id;       // KaseCCSS
inline constexpr GUID VolStopOp = "BC748604-1D6E-11D2-9DC4-00609723FA17"_id;        // VolStop
inline constexpr GUID StochXOp = "E1380268-2511-11D2-9DC6-00609723FA17"_id;         // StochXOp
inline constexpr GUID StdDevOp = "510B8034-1C38-11D2-8048-006008579EB8"_id;         // SDev
inline constexpr GUID DeMOp = "664BADF5-31EC-11D2-9DD1-00609723FA17"_id;            // DeMOp
inline constexpr GUID WeightedAvgOp = "C6ED23E1-9B73-11D2-B8F4-00C04F8EFC63"_id;    // Wei
inline constexpr GUID EventOffset = "047AE502-0E7B-11D3-B2D5-00600857387D"_id;      // EventOffsetOp
inline constexpr GUID CountOperator = "047AE50E-0E7B-11D3-B2D5-00600857387D"_id;    // CountOp
inline constexpr GUID MeanDeviationOp = "047AE511-0E7B-11D3-B2D5-00600857387D"_id;  // MeanDev
inline constexpr GUID MACDXOp = "047AE51A-0E7B-11D3-B2D5-00600857387D"_id;          // MACDXOp
inline constexpr GUID TimeAvgOp = "FD614BA1-D205-4672-A42E-D67979900E5E"_id;        // TimeAvg
inline constexpr GUID CGOscOp = "DE19DB3B-AF0D-430A-98AD-9009331FFA37"_id;          // CGOscOp
inline constexpr GUID KalmanFilterOp = "7370CFB4-A250-4857-A39A-17AE8FF1522B"_id;   // KalmanFilter
inline constexpr GUID TriAvgOp = "81E21BEE-B660-4B1E-84CD-7F0A9DA34A74"_id;         // TriAvg
inline constexpr GUID ExHullAvgOp = "FB48A185-BC7E-40F7-9126-D3DB8705476D"_id;      // ExHull

// The ids of all classes, in the order in which the library registers them.
inline constexpr GUID All[] = {
    MedianOp,  SBarMul,   SBarAdd,   SBarDiv,        SBarSub,         BarDiv,        BarMul,
    BarSub,    BarAdd,    SampleOp,  TDReboOp,       TDREIOp,         MiddleOp,      CorrelOp,
    SimAvgOp,  SmoAvgOp,  ExpAvgOp,  HiLevOp,        LoLevOp,         SqrtDevOp,     RankOp,
    AdapAvgOp, TrixOp,    OverLapOp, KasePeakOscOp,  KasePermStochOp, KaseCCSSOp,    VolStopOp,
    StochXOp,  StdDevOp,  DeMOp,     WeightedAvgOp,  EventOffset,     CountOperator, MeanDeviationOp,
    MACDXOp,   TimeAvgOp, CGOscOp,   KalmanFilterOp, TriAvgOp,        ExHullAvgOp};

}  // namespace ClassId
}  // namespace sarvane
