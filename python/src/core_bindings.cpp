// The library's classes, records and free functions under their own names, for host
// developers who prototype in Python. Out-parameters come back as tuples: the return value
// first, then the out-parameters in declaration order.
#include <qv_roadCurveCalculation_alg.h>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "bindings.hpp"

namespace rccpy {

namespace {

/// A record class with keyword construction (`RoadCurve(length=10.0, curveType=1)`, other
/// fields keep their defaults), copies, and a repr listing its fields.
template <class T>
py::class_<T> record(py::module_& m, const char* name, const char* doc,
                     std::initializer_list<const char*> fields) {
    py::class_<T> c(m, name, doc);
    const std::vector<std::string> names(fields.begin(), fields.end());
    c.def(py::init([names](const py::kwargs& given) {
        T value{};
        // A borrowed view of the local record, so that each field is set by its own
        // converter (and refused with a TypeError when the value does not fit).
        py::object view = py::cast(&value, py::return_value_policy::reference);
        for (const auto& item : given) {
            const auto key = item.first.cast<std::string>();
            if (std::find(names.begin(), names.end(), key) == names.end()) {
                throw py::type_error(std::string(py::str(view.get_type().attr("__name__"))) +
                                     " has no field " + key);
            }
            py::setattr(view, item.first, item.second);
        }
        return value;
    }));
    c.def("__copy__", [](const T& v) { return v; });
    c.def(
        "__deepcopy__", [](const T& v, const py::dict&) { return v; }, py::arg("memo"));
    c.def("__repr__", [names](const py::object& self) {
        std::string text = std::string(py::str(self.get_type().attr("__name__"))) + "(";
        for (std::size_t i = 0; i < names.size(); ++i) {
            text += (i ? ", " : "") + names[i] + "=" +
                    std::string(py::repr(self.attr(names[i].c_str())));
        }
        return text + ")";
    });
    return c;
}

void bindRecords(py::module_& m) {
    record<RoadCurve>(m, "RoadCurve", "One horizontal element (straight, arc or clothoid).",
                      {"startDK", "endDK", "startX", "startY", "endX", "endY", "endBearing",
                       "startRadius", "endRadius", "length", "startBearing", "startCurvature",
                       "endCurvature", "curveType", "turnDirection", "integrationStep"})
        .def_readwrite("startDK", &RoadCurve::startDK)
        .def_readwrite("endDK", &RoadCurve::endDK)
        .def_readwrite("startX", &RoadCurve::startX)
        .def_readwrite("startY", &RoadCurve::startY)
        .def_readwrite("endX", &RoadCurve::endX)
        .def_readwrite("endY", &RoadCurve::endY)
        .def_readwrite("endBearing", &RoadCurve::endBearing)
        .def_readwrite("startRadius", &RoadCurve::startRadius)
        .def_readwrite("endRadius", &RoadCurve::endRadius)
        .def_readwrite("length", &RoadCurve::length)
        .def_readwrite("startBearing", &RoadCurve::startBearing)
        .def_readwrite("startCurvature", &RoadCurve::startCurvature)
        .def_readwrite("endCurvature", &RoadCurve::endCurvature)
        .def_readwrite("curveType", &RoadCurve::curveType)
        .def_readwrite("turnDirection", &RoadCurve::turnDirection)
        .def_readwrite("integrationStep", &RoadCurve::integrationStep);

    record<JDPoint>(m, "JDPoint", "One horizontal intersection point.",
                    {"spare1", "radius", "x", "y", "inTransitionLength", "outTransitionLength",
                     "spare2", "spare3", "pointDK", "pointType"})
        .def_readwrite("spare1", &JDPoint::spare1)
        .def_readwrite("radius", &JDPoint::radius)
        .def_readwrite("x", &JDPoint::x)
        .def_readwrite("y", &JDPoint::y)
        .def_readwrite("inTransitionLength", &JDPoint::inTransitionLength)
        .def_readwrite("outTransitionLength", &JDPoint::outTransitionLength)
        .def_readwrite("spare2", &JDPoint::spare2)
        .def_readwrite("spare3", &JDPoint::spare3)
        .def_readwrite("pointDK", &JDPoint::pointDK)
        .def_readwrite("pointType", &JDPoint::pointType);

    record<RoadVerticalCurvePoint>(m, "RoadVerticalCurvePoint", "One vertical grade-change point.",
                                   {"dk", "elevation", "radius", "reserved1", "reserved2",
                                    "reserved3", "reserved4", "pointType"})
        .def_readwrite("dk", &RoadVerticalCurvePoint::dk)
        .def_readwrite("elevation", &RoadVerticalCurvePoint::elevation)
        .def_readwrite("radius", &RoadVerticalCurvePoint::radius)
        .def_readwrite("reserved1", &RoadVerticalCurvePoint::reserved1)
        .def_readwrite("reserved2", &RoadVerticalCurvePoint::reserved2)
        .def_readwrite("reserved3", &RoadVerticalCurvePoint::reserved3)
        .def_readwrite("reserved4", &RoadVerticalCurvePoint::reserved4)
        .def_readwrite("pointType", &RoadVerticalCurvePoint::pointType);

    record<RoadVerticalCurve>(m, "RoadVerticalCurve",
                              "One piece of the vertical profile: a grade line or a half curve.",
                              {"startDK", "endDK", "startElevation", "endElevation", "length",
                               "grade", "radius", "curveType", "concavity"})
        .def_readwrite("startDK", &RoadVerticalCurve::startDK)
        .def_readwrite("endDK", &RoadVerticalCurve::endDK)
        .def_readwrite("startElevation", &RoadVerticalCurve::startElevation)
        .def_readwrite("endElevation", &RoadVerticalCurve::endElevation)
        .def_readwrite("length", &RoadVerticalCurve::length)
        .def_readwrite("grade", &RoadVerticalCurve::grade)
        .def_readwrite("radius", &RoadVerticalCurve::radius)
        .def_readwrite("curveType", &RoadVerticalCurve::curveType)
        .def_readwrite("concavity", &RoadVerticalCurve::concavity);

    record<BrokenChain>(m, "BrokenChain",
                        "One chainage break: type 1 short chain, any other long chain.",
                        {"type", "beforeDK", "afterDK"})
        .def_readwrite("type", &BrokenChain::type)
        .def_readwrite("beforeDK", &BrokenChain::beforeDK)
        .def_readwrite("afterDK", &BrokenChain::afterDK);

    record<DesignCruveInPut>(m, "DesignCruveInPut",
                             "One straight (radius 0) or arc item of a drawn outline.",
                             {"x1", "y1", "x2", "y2", "radius"})
        .def_readwrite("x1", &DesignCruveInPut::x1)
        .def_readwrite("y1", &DesignCruveInPut::y1)
        .def_readwrite("x2", &DesignCruveInPut::x2)
        .def_readwrite("y2", &DesignCruveInPut::y2)
        .def_readwrite("radius", &DesignCruveInPut::radius);
}

void bindBrokenChainSet(py::module_& m) {
    using S = BrokenChainSet;
    py::class_<S>(m, "BrokenChainSet", "The ordered chainage breaks of one route.")
        .def(py::init<>())
        .def("__copy__", [](const S& s) { return s; })
        .def(
            "__deepcopy__", [](const S& s, const py::dict&) { return s; }, py::arg("memo"))
        .def("addChain", &S::addChain, py::arg("chain"))
        .def("getChains", &S::getChains)
        .def("setChains", &S::setChains, py::arg("chains"))
        .def("clearChains", &S::clearChains)
        // Text overloads first, so that a str never reaches the number forms.
        .def("calculateDKfromLength",
             py::overload_cast<std::string, double>(&S::calculateDKfromLength, py::const_),
             py::arg("dk"), py::arg("length"))
        .def("calculateDKfromLength",
             py::overload_cast<double, double>(&S::calculateDKfromLength, py::const_),
             py::arg("dk"), py::arg("length"))
        .def(
            "calculateLengthBetween2DKs",
            py::overload_cast<std::string, std::string>(&S::calculateLengthBetween2DKs, py::const_),
            py::arg("dk1"), py::arg("dk2"))
        .def("calculateLengthBetween2DKs",
             py::overload_cast<double, double>(&S::calculateLengthBetween2DKs, py::const_),
             py::arg("dk1"), py::arg("dk2"));
}

void bindAlignment(py::module_& m) {
    using R = RoadCurvesCalculation;
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    py::class_<R>(m, "RoadCurvesCalculation",
                  "One route centre line: elements, intersection points, grade points, "
                  "profile pieces and chainage breaks. Methods with out-parameters return a "
                  "tuple: the return value first, then the out-parameters in order.")
        .def(py::init<>())
        .def("__copy__", [](const R& r) { return r; })
        .def(
            "__deepcopy__", [](const R& r, const py::dict&) { return r; }, py::arg("memo"))
        .def("addRoadCurves", &R::addRoadCurves, py::arg("curve"))
        .def("getRoadCruves", &R::getRoadCruves)
        .def("setBrokenChainSet", &R::setBrokenChainSet, py::arg("chainSet"))
        .def("addJDPoint", &R::addJDPoint, py::arg("point"))
        .def("addBPPoint", &R::addBPPoint, py::arg("point"))
        .def("calculateDKfromLength",
             py::overload_cast<std::string, double>(&R::calculateDKfromLength, py::const_),
             py::arg("dk"), py::arg("length"))
        .def("calculateDKfromLength",
             py::overload_cast<double, double>(&R::calculateDKfromLength, py::const_),
             py::arg("dk"), py::arg("length"))
        .def(
            "calculateLengthBetween2DKs",
            py::overload_cast<std::string, std::string>(&R::calculateLengthBetween2DKs, py::const_),
            py::arg("dk1"), py::arg("dk2"))
        .def("calculateLengthBetween2DKs",
             py::overload_cast<double, double>(&R::calculateLengthBetween2DKs, py::const_),
             py::arg("dk1"), py::arg("dk2"))
        .def("inputLine", &R::inputLine, py::arg("startDK"), py::arg("endDK"), py::arg("startX"),
             py::arg("startY"), py::arg("bearing"))
        .def("inputLineCoor", &R::inputLineCoor, py::arg("startDK"), py::arg("startX"),
             py::arg("startY"), py::arg("endX"), py::arg("endY"))
        .def("inputCurve", &R::inputCurve, py::arg("startDK"), py::arg("endDK"), py::arg("startX"),
             py::arg("startY"), py::arg("radius"), py::arg("turnDirection"),
             py::arg("startBearing"))
        .def("inputCurveCoor", &R::inputCurveCoor, py::arg("startDK"), py::arg("startX"),
             py::arg("startY"), py::arg("endX"), py::arg("endY"), py::arg("radius"),
             py::arg("turnDirection"))
        .def("inputInTransitionCurve", &R::inputInTransitionCurve, py::arg("startDK"),
             py::arg("endDK"), py::arg("startX"), py::arg("startY"), py::arg("radius"),
             py::arg("turnDirection"), py::arg("startBearing"))
        .def("inputOutTransitionCurve", &R::inputOutTransitionCurve, py::arg("startDK"),
             py::arg("endDK"), py::arg("startX"), py::arg("startY"), py::arg("radius"),
             py::arg("turnDirection"), py::arg("startBearing"))
        .def("inputIncompleteTransitionCurve", &R::inputIncompleteTransitionCurve,
             py::arg("startDK"), py::arg("endDK"), py::arg("startX"), py::arg("startY"),
             py::arg("startRadius"), py::arg("endRadius"), py::arg("turnDirection"),
             py::arg("startBearing"))
        .def(
            "calculateCoordinatesAndBearing",
            [](const R& r, std::string dk, double x, double y, double elevation) {
                const double bearing =
                    r.calculateCoordinatesAndBearing(std::move(dk), x, y, elevation);
                return py::make_tuple(bearing, x, y, elevation);
            },
            "Returns (bearing, x, y, elevation); x, y and elevation start from the values "
            "given, which come back unchanged where the library leaves them untouched.",
            py::arg("dk"), py::arg("x") = 0.0, py::arg("y") = 0.0, py::arg("elevation") = kNaN)
        .def("isDKOnAlignment", &R::isDKOnAlignment, py::arg("dk"))
        .def(
            "vdApproachMethod",
            [](const R& r, std::string dk, double x, double y, std::string resultDk) {
                const double offset = r.vdApproachMethod(std::move(dk), x, y, resultDk);
                return py::make_tuple(offset, resultDk);
            },
            "Returns (offset, resultDk); resultDk starts from the text given.", py::arg("dk"),
            py::arg("x"), py::arg("y"), py::arg("resultDk") = std::string())
        .def("calculateDKfromCoordinates", &R::calculateDKfromCoordinates, py::arg("y"),
             py::arg("x"))
        .def(
            "convertJDPointsToRoadCurves",
            [](R& r) {
                double inBearing = 0.0, outBearing = 0.0, inTangentLength = 0.0;
                double outTangentLength = 0.0, arcLength = 0.0, deflection = 0.0;
                int turnDirection = 0;
                const int status = r.convertJDPointsToRoadCurves(
                    inBearing, outBearing, inTangentLength, outTangentLength, arcLength, deflection,
                    turnDirection);
                return py::make_tuple(status, inBearing, outBearing, inTangentLength,
                                      outTangentLength, arcLength, deflection, turnDirection);
            },
            "Returns (status, inBearing, outBearing, inTangentLength, outTangentLength, "
            "arcLength, deflection, turnDirection); bearings and deflection in degrees.")
        .def(
            "convertBPPointsToVerticalCurves",
            [](R& r) {
                double grade1 = 0.0, grade2 = 0.0, tangentLength = 0.0, externalDistance = 0.0;
                const int status = r.convertBPPointsToVerticalCurves(grade1, grade2, tangentLength,
                                                                     externalDistance);
                return py::make_tuple(status, grade1, grade2, tangentLength, externalDistance);
            },
            "Returns (status, grade1, grade2, tangentLength, externalDistance).")
        .def("getVerticalCurves", &R::getVerticalCurves);
}

}  // namespace

void bindCore(py::module_& core) {
    // Unreadable chainage text throws std::out_of_range for numbers beyond double; it is a
    // bad value, not a bad index, so it surfaces as ValueError (std::invalid_argument is
    // ValueError already).
    py::register_local_exception_translator([](std::exception_ptr p) {
        try {
            if (p) std::rethrow_exception(p);
        } catch (const std::out_of_range& e) {
            PyErr_SetString(PyExc_ValueError, e.what());
        }
    });
    bindRecords(core);
    bindBrokenChainSet(core);
    bindAlignment(core);
    core.def("calculateBearing", &calculateBearing, py::arg("x1"), py::arg("y1"), py::arg("x2"),
             py::arg("y2"));
    core.def("calculateBearingRad", &calculateBearingRad, py::arg("x1"), py::arg("y1"),
             py::arg("x2"), py::arg("y2"));
    core.def("analysisDesignCurves", &analysisDesignCurves, py::arg("designCurves"),
             py::arg("leftSide"), py::arg("rightSide"), py::arg("baseLine"),
             "Fills leftSide, rightSide and baseLine in place; returns 0, or -1 for an empty "
             "list.");
}

}  // namespace rccpy
