"""The library's own classes, records and free functions, name for name.

Methods with out-parameters return a tuple: the return value first, then the
out-parameters in declaration order (``convertJDPointsToRoadCurves()`` gives
``(status, inBearing, outBearing, inTangentLength, outTangentLength, arcLength,
deflection, turnDirection)``). Records take their fields as keywords:
``RoadCurve(length=10.0, curveType=1)``.
"""

from ._rcc import core as _core

BrokenChain = _core.BrokenChain
BrokenChainSet = _core.BrokenChainSet
DesignCruveInPut = _core.DesignCruveInPut
JDPoint = _core.JDPoint
RoadCurve = _core.RoadCurve
RoadCurvesCalculation = _core.RoadCurvesCalculation
RoadVerticalCurve = _core.RoadVerticalCurve
RoadVerticalCurvePoint = _core.RoadVerticalCurvePoint
analysisDesignCurves = _core.analysisDesignCurves
calculateBearing = _core.calculateBearing
calculateBearingRad = _core.calculateBearingRad

__all__ = ["BrokenChain", "BrokenChainSet", "DesignCruveInPut", "JDPoint", "RoadCurve",
           "RoadCurvesCalculation", "RoadVerticalCurve", "RoadVerticalCurvePoint",
           "analysisDesignCurves", "calculateBearing", "calculateBearingRad"]
