#include "lab/analysis/coarse_fit.h"

#include <Eigen/Cholesky>
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "lab/analysis/rounded_normal.h"

// A value of a coarse sensor is rounded to the nearest step (or cut off: then all are half a step
// low, which the start temperature takes up). Least squares takes the distance to the step's middle
// for noise. Where the temperature moves over many steps that is nearly true; where it stands still
// the same error stays for minutes. The likelihood of intervals takes from a still stretch only
// that the temperature is within the step, and the rest from when steps were crossed.

namespace lab {

namespace {

constexpr int kDraws = 120;          // an interval's width is then known to 6 %
constexpr int kLooks = 16;           // to see how rounding correlates residuals
constexpr double kLeastNoise = 0.1;  // of a step: a real sensor has some, and rows have some width

// The observed rows alone, and a temperature that is linear in its parameters near the fit.
struct Rows {
  Eigen::VectorXd value;
  Eigen::VectorXd fitted;
  Eigen::MatrixXd slopes;

  Rows(const FosterFit& fit, const Observed& observed)
      : value(weighted_rows(observed.value, observed)),
        fitted(weighted_rows(fit.fitted, observed)),
        slopes(weighted_rows(fit.slopes, observed)) {}
};

struct Likelihood {
  double log = 0;
  double latent_variance = 0;  // mean square of the noise before the rounding, as far as known
  Eigen::VectorXd score;       // of each row
  Eigen::VectorXd information;
};

Likelihood likelihood(const Eigen::VectorXd& value, const Eigen::VectorXd& fitted, double step,
                      double sigma) {
  Likelihood result{.score = Eigen::VectorXd(value.size()),
                    .information = Eigen::VectorXd(value.size())};
  for (Eigen::Index row = 0; row < value.size(); ++row) {
    const RoundedNormal one =
        rounded_normal(value[row] - step / 2, value[row] + step / 2, fitted[row], sigma);
    const double off = one.mean - fitted[row];
    result.log += one.log_probability;
    result.latent_variance += off * off + one.variance;
    result.score[row] = one.score;
    result.information[row] = one.information;
  }
  result.latent_variance /= static_cast<double>(std::max<Eigen::Index>(value.size(), 1));
  return result;
}

Eigen::LDLT<Eigen::MatrixXd> information_of(const Eigen::MatrixXd& slopes,
                                            const Eigen::VectorXd& weights) {
  Eigen::MatrixXd information = slopes.transpose() * weights.asDiagonal() * slopes;
  information.diagonal() *= 1 + 1e-9;
  information.diagonal().array() += 1e-12;
  return information.ldlt();
}

// The fit, moved by a step in all its parameters.
FosterFit moved(const HeatCurve& curve, const Observed& observed, const FosterFit& from,
                const Eigen::VectorXd& by) {
  FosterFit fit;
  fit.given = from.given;
  Eigen::Index at = 0;
  fit.start = from.start + by[at++];
  for (const double resistance : from.resistance) {
    fit.resistance.push_back(resistance + by[at++]);
  }
  for (const double offset : from.offset) {
    fit.offset.push_back(offset + by[at++]);
  }
  for (const double tau_s : from.tau_s) {
    fit.tau_s.push_back(tau_s * std::exp(std::clamp(by[at++], -1.0, 1.0)));
  }
  evaluate(curve, observed, fit);
  return fit;
}

double next_sigma(const Likelihood& now, double step) {
  return std::max(std::sqrt(now.latent_variance), kLeastNoise * step);
}

// Noise in the row that is new and noise that stays, as the model says.
class NoiseSource {
 public:
  NoiseSource(const Noise& noise, std::mt19937_64& random)
      : random_(random),
        fresh_(noise.sigma * std::sqrt(1 - noise.shared)),
        kept_(noise.sigma * std::sqrt(noise.shared)),
        memory_(noise.memory),
        renewed_(std::sqrt(1 - noise.memory * noise.memory)),
        state_(normal_(random)) {}

  double next() {
    if (kept_ <= 0) {
      return fresh_ * normal_(random_);
    }
    state_ = memory_ * state_ + renewed_ * normal_(random_);
    return fresh_ * normal_(random_) + kept_ * state_;
  }

 private:
  std::mt19937_64& random_;
  std::normal_distribution<double> normal_;
  double fresh_;
  double kept_;
  double memory_;
  double renewed_;
  double state_;
};

// What sensors on temperatures like the fitted one would have shown.
struct Simulation {
  Eigen::MatrixXd scores;                   // a column for each draw: derivatives of its likelihood
  Eigen::VectorXd information;              // of each row: mean
  Eigen::VectorXd residual_autocovariance;  // mean

  Simulation(const Rows& rows, double step, const Noise& noise, const Eigen::MatrixXd& spread,
             int draws, Eigen::Index distances)
      : scores(rows.slopes.cols(), draws),
        information(Eigen::VectorXd::Zero(rows.value.size())),
        residual_autocovariance(Eigen::VectorXd::Zero(distances + 1)) {
    std::mt19937_64 random(20);  // any seed, but always the same
    std::normal_distribution<double> normal;
    const double origin = rows.value[0];
    for (int draw = 0; draw < draws; ++draw) {
      // Where the truth lies between the steps is not known either: each draw has its own truth.
      const Eigen::VectorXd away =
          Eigen::VectorXd::NullaryExpr(spread.cols(), [&]() { return normal(random); });
      const Eigen::VectorXd truth = rows.fitted + rows.slopes * (spread * away);
      NoiseSource source(noise, random);
      Eigen::VectorXd shown(truth.size());
      for (Eigen::Index row = 0; row < truth.size(); ++row) {
        shown[row] = origin + step * std::round((truth[row] + source.next() - origin) / step);
      }
      const Likelihood seen = likelihood(shown, truth, step, noise.sigma);
      scores.col(draw) = rows.slopes.transpose() * seen.score;
      information += seen.information / draws;
      residual_autocovariance += autocovariance(shown - truth, distances) / draws;
    }
  }
};

}  // namespace

CoarseFit coarse_fit(const HeatCurve& curve, const Observed& observed, FosterFit fit, double step) {
  const auto count = static_cast<double>((observed.weight.array() > 0).count());
  double sigma = std::sqrt(std::max(fit.squares / count - step * step / 12, 0.0));
  sigma = std::max(sigma, kLeastNoise * step);
  Rows rows(fit, observed);
  Likelihood now = likelihood(rows.value, rows.fitted, step, sigma);
  for (int round = 0; round < 30; ++round) {
    const Eigen::VectorXd by =
        information_of(rows.slopes, now.information).solve(rows.slopes.transpose() * now.score);
    double part = 1;
    bool better = false;
    while (!better && part > 0.05) {
      FosterFit next = moved(curve, observed, fit, part * by);
      const Rows next_rows(next, observed);
      const Likelihood then = likelihood(next_rows.value, next_rows.fitted, step, sigma);
      better = then.log > now.log;
      if (better) {
        fit = std::move(next);
        rows = next_rows;
        now = then;
      }
      part /= 2;
    }
    const double before = sigma;
    sigma = next_sigma(now, step);
    if ((!better || by.tail(1).cwiseAbs()[0] < 1e-5) && std::abs(sigma - before) < 1e-3 * before) {
      break;
    }
    now = likelihood(rows.value, rows.fitted, step, sigma);
  }
  const auto parameters = rows.slopes.cols();
  const Eigen::MatrixXd none = Eigen::MatrixXd::Identity(parameters, parameters);
  const Eigen::MatrixXd spread =
      information_of(rows.slopes, now.information).solve(none).llt().matrixL();
  const Eigen::Index distances = std::min<Eigen::Index>(200, static_cast<Eigen::Index>(count) / 4);
  Noise noise{.sigma = sigma};
  const Simulation white(rows, step, noise, spread, kLooks, distances);
  // If the noise is white, the information says it all.
  Eigen::MatrixXd covariance = information_of(rows.slopes, white.information).solve(none);
  // Correlation beyond what the rounding itself makes was in the noise.
  Eigen::VectorXd beyond =
      autocovariance(rows.value - rows.fitted, distances) - white.residual_autocovariance;
  beyond[0] = sigma * sigma;
  const Noise correlated = noise_from(beyond, count);
  if (correlated.shared > 0) {
    noise.shared = std::min(1.0, correlated.shared);
    noise.memory = correlated.memory;
    const Simulation coloured(rows, step, noise, spread, kDraws, 0);
    const Eigen::MatrixXd errors =
        information_of(rows.slopes, coloured.information).solve(coloured.scores);
    covariance = errors * errors.transpose() / kDraws;
  }
  const double freedom = effective_count(count, noise) - static_cast<double>(parameters);
  return {.fit = std::move(fit),
          .uncertainty = {.covariance = covariance, .noise = noise, .freedom = freedom}};
}

}  // namespace lab
