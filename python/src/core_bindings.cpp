// The library's classes, records and free functions under their own names, for host
// developers who prototype in Python. Out-parameters come back as tuples: the return value
// first, then the out-parameters in declaration order.
#include <qv_roadCurveCalculation_alg.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bindings.hpp"

namespace rccpy {

namespace {

/// copy.copy and copy.deepcopy of a class held by value: both are the C++ copy.
template <class T>
void addCopies(py::class_<T>& c) {
    c.def("__copy__", [](const T& v) { return v; });
    c.def(
        "__deepcopy__", [](const T& v, const py::dict&) { return v; }, py::arg("memo"));
}

/// A record class with keyword construction (`RoadCurve(length=10.0, curveType=1)`, other
/// fields keep their defaults), copies, and a repr listing its fields in declaration order.
template <class T>
class Record {
public:
    Record(py::module_& m, const char* name, const char* doc)
        : class_(m, name, doc), names_(std::make_shared<std::vector<std::string>>()) {
        auto names = names_;
        class_.def(py::init([names](const py::kwargs& given) {
            T value{};
            // A borrowed view of the local record, so that each field is set by its own
            // converter (and refused with a TypeError when the value does not fit).
            py::object view = py::cast(&value, py::return_value_policy::reference);
            for (const auto& item : given) {
                const auto key = item.first.cast<std::string>();
                if (std::find(names->begin(), names->end(), key) == names->end()) {
                    throw py::type_error(std::string(py::str(view.get_type().attr("__name__"))) +
                                         " has no field " + key);
                }
                py::setattr(view, item.first, item.second);
            }
            return value;
        }));
        addCopies(class_);
        class_.def("__repr__", [names](const py::object& self) {
            std::string text = std::string(py::str(self.get_type().attr("__name__"))) + "(";
            for (std::size_t i = 0; i < names->size(); ++i) {
                const std::string& field = (*names)[i];
                text +=
                    (i ? ", " : "") + field + "=" + std::string(py::repr(self.attr(field.c_str())));
            }
            return text + ")";
        });
    }

    template <class F>
    Record& field(const char* name, F T::*member) {
        class_.def_readwrite(name, member);
        names_->push_back(name);
        return *this;
    }

private:
    py::class_<T> class_;
    std::shared_ptr<std::vector<std::string>> names_;  ///< shared with init and repr
};

void bindRecords(py::module_& m) {
    Record<RoadCurve>(m, "RoadCurve", "One horizontal element (straight, arc or clothoid).")
        .field("startDK", &RoadCurve::startDK)
        .field("endDK", &RoadCurve::endDK)
        .field("startX", &RoadCurve::startX)
        .field("startY", &RoadCurve::startY)
        .field("endX", &RoadCurve::endX)
        .field("endY", &RoadCurve::endY)
        .field("endBearing", &RoadCurve::endBearing)
        .field("startRadius", &RoadCurve::startRadius)
        .field("endRadius", &RoadCurve::endRadius)
        .field("length", &RoadCurve::length)
        .field("startBearing", &RoadCurve::startBearing)
        .field("startCurvature", &RoadCurve::startCurvature)
        .field("endCurvature", &RoadCurve::endCurvature)
        .field("curveType", &RoadCurve::curveType)
        .field("turnDirection", &RoadCurve::turnDirection)
        .field("integrationStep", &RoadCurve::integrationStep);

    Record<JDPoint>(m, "JDPoint", "One horizontal intersection point.")
        .field("spare1", &JDPoint::spare1)
        .field("radius", &JDPoint::radius)
        .field("x", &JDPoint::x)
        .field("y", &JDPoint::y)
        .field("inTransitionLength", &JDPoint::inTransitionLength)
        .field("outTransitionLength", &JDPoint::outTransitionLength)
        .field("spare2", &JDPoint::spare2)
        .field("spare3", &JDPoint::spare3)
        .field("pointDK", &JDPoint::pointDK)
        .field("pointType", &JDPoint::pointType);

    Record<RoadVerticalCurvePoint>(m, "RoadVerticalCurvePoint", "One vertical grade-change point.")
        .field("dk", &RoadVerticalCurvePoint::dk)
        .field("elevation", &RoadVerticalCurvePoint::elevation)
        .field("radius", &RoadVerticalCurvePoint::radius)
        .field("reserved1", &RoadVerticalCurvePoint::reserved1)
        .field("reserved2", &RoadVerticalCurvePoint::reserved2)
        .field("reserved3", &RoadVerticalCurvePoint::reserved3)
        .field("reserved4", &RoadVerticalCurvePoint::reserved4)
        .field("pointType", &RoadVerticalCurvePoint::pointType);

    Record<RoadVerticalCurve>(m, "RoadVerticalCurve",
                              "One piece of the vertical profile: a grade line or a half curve.")
        .field("startDK", &RoadVerticalCurve::startDK)
        .field("endDK", &RoadVerticalCurve::endDK)
        .field("startElevation", &RoadVerticalCurve::startElevation)
        .field("endElevation", &RoadVerticalCurve::endElevation)
        .field("length", &RoadVerticalCurve::length)
        .field("grade", &RoadVerticalCurve::grade)
        .field("radius", &RoadVerticalCurve::radius)
        .field("curveType", &RoadVerticalCurve::curveType)
        .field("concavity", &RoadVerticalCurve::concavity);

    Record<BrokenChain>(m, "BrokenChain",
                        "One chainage break: type 1 short chain, any other long chain.")
        .field("type", &BrokenChain::type)
        .field("beforeDK", &BrokenChain::beforeDK)
        .field("afterDK", &BrokenChain::afterDK);

    Record<DesignCruveInPut>(m, "DesignCruveInPut",
                             "One straight (radius 0) or arc item of a drawn outline.")
        .field("x1", &DesignCruveInPut::x1)
        .field("y1", &DesignCruveInPut::y1)
        .field("x2", &DesignCruveInPut::x2)
        .field("y2", &DesignCruveInPut::y2)
        .field("radius", &DesignCruveInPut::radius);
}

/// The chainage arithmetic both classes share, text overloads first so that a str never
/// reaches the number forms.
template <class T>
void bindChainArithmetic(py::class_<T>& c) {
    c.def("calculateDKfromLength",
          py::overload_cast<std::string, double>(&T::calculateDKfromLength, py::const_),
          py::arg("dk"), py::arg("length"));
    c.def("calculateDKfromLength",
          py::overload_cast<double, double>(&T::calculateDKfromLength, py::const_), py::arg("dk"),
          py::arg("length"));
    c.def("calculateLengthBetween2DKs",
          py::overload_cast<std::string, std::string>(&T::calculateLengthBetween2DKs, py::const_),
          py::arg("dk1"), py::arg("dk2"));
    c.def("calculateLengthBetween2DKs",
          py::overload_cast<double, double>(&T::calculateLengthBetween2DKs, py::const_),
          py::arg("dk1"), py::arg("dk2"));
    addCopies(c);
}

void bindBrokenChainSet(py::module_& m) {
    using S = BrokenChainSet;
    py::class_<S> c(m, "BrokenChainSet", "The ordered chainage breaks of one route.");
    c.def(py::init<>())
        .def("addChain", &S::addChain, py::arg("chain"))
        .def("getChains", &S::getChains)
        .def("setChains", &S::setChains, py::arg("chains"))
        .def("clearChains", &S::clearChains);
    bindChainArithmetic(c);
    addCopies(c);
}

void bindAlignment(py::module_& m) {
    using R = RoadCurvesCalculation;
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    py::class_<R> c(m, "RoadCurvesCalculation",
                    "One route centre line: elements, intersection points, grade points, "
                    "profile pieces and chainage breaks. Methods with out-parameters return a "
                    "tuple: the return value first, then the out-parameters in order.");
    bindChainArithmetic(c);
    addCopies(c);
    c.def(py::init<>())
        .def("addRoadCurves", &R::addRoadCurves, py::arg("curve"))
        .def("getRoadCruves", &R::getRoadCruves)
        .def("setBrokenChainSet", &R::setBrokenChainSet, py::arg("chainSet"))
        .def("addJDPoint", &R::addJDPoint, py::arg("point"))
        .def("addBPPoint", &R::addBPPoint, py::arg("point"))
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
