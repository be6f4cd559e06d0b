"""Tolerances of the Python tests, stated once, in the units of the values compared."""

# Round-off of closed-form arithmetic on values of order 1e3 (length units).
EXACT = 1e-9
# Bearing round-off of closed forms (radians).
ANGLE = 1e-12
# The library's fixed-step evaluation of curves (step 1e-4) against the true curve: up to
# one step past the asked distance, plus the scheme's drift (length units).
STEP_POSITION = 3e-4
# Bearing of the fixed-step evaluation against the true curve (radians).
STEP_BEARING = 2e-5
# Grades (rise over run) of closed forms: round-off of a quotient of values of order 1e3.
GRADE = 1e-12
# A curve's main values from the fitting against closed forms: round-off summed over the
# fitting's arithmetic on coordinates of order 1e4 (length units).
FITTED = 1e-6
# Where the library's stepping projection stops: its last step is below 0.001, plus one
# step of the fixed-step evaluation (length units).
PROJECTION_STOP = 1.5e-3
# Staking out and locating again: the foot is found to a tenth of a millimetre (metres).
LOCATE = 1e-4
# A table printed with six decimals: half a unit of the sixth decimal in the printed length
# carried into the point, half a unit in the printed value, plus round-off (length units,
# degrees).
SIX_DECIMALS = 1.5e-6
