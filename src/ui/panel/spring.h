#pragma once
// A damped spring in closed form, so motion can be retargeted mid-flight without a jump in position
// or speed, and a dropped frame costs nothing. Parameters are given the way designers give them: the
// response (period of the undamped oscillation, in seconds) and the damping fraction (1 = critical).

namespace ostrel {

struct SpringParams {
    double response = 0.2;
    double dampingFraction = 0.85;
};

struct SpringSample {
    double value = 0;
    double velocity = 0; // units per second
};

// Where a spring released at `from` with `velocity`, pulling towards `target`, is after `elapsed`
// seconds. A negative elapsed time counts as the moment of release.
SpringSample springAt(const SpringParams& params, double from, double velocity, double target,
                      double elapsed);

// One animated number: retargeting starts a new spring from the current position and speed.
class Spring {
  public:
    explicit Spring(SpringParams params = {}) : params_(params) {}

    // Sets the value at once, at rest (first layout, or motion turned off).
    void jumpTo(double value);
    void retarget(double target, double now);

    SpringSample sample(double now) const;
    double value(double now) const { return sample(now).value; }
    double target() const { return target_; }
    // Close enough to the target, and slow enough, that stopping there cannot be seen.
    bool settled(double now, double tolerance = 0.25) const;

  private:
    SpringParams params_;
    double from_ = 0;
    double velocity_ = 0;
    double target_ = 0;
    double start_ = 0;
};

} // namespace ostrel
