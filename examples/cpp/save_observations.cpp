// Saves what a diffusion looks at: the performance of a basket of two shares at the end of each
// month of a year, as an encoded list of observations. Takes the name of the file to write.
//
// examples/observations/basket.txt was written so.

#include <cstdio>
#include <string>
#include <vector>
#include <ximAPI/ximAPI.hpp>

int main(int count, char** words) {
    ximAPI::BasketObservable basket;
    basket.Basket = {{"ALPHA", 50.0F}, {"BETA", 50.0F}};
    basket.ForwardStartDate = "2021-05-03";
    basket.BasketKind = ximAPI::BasketKind::BASKET;
    std::vector<ximDSL::Observation> observations;
    for (std::string const date :
         {"2021-05-03", "2021-05-31", "2021-06-30", "2021-07-30", "2021-08-31", "2021-09-30",
          "2021-10-29", "2021-11-30", "2021-12-31", "2022-01-31", "2022-02-28", "2022-03-31",
          "2022-04-29"}) {
        observations.emplace_back(date, ximAPI::GetBasketPerformance(basket, date));
    }
    std::string const file = count > 1 ? words[1] : "basket.txt";
    if (!ximDSL::Save(observations, file)) {
        std::printf("Cannot write %s\n", file.c_str());
        return 1;
    }
    std::printf("%zu observations in %s\n", observations.size(), file.c_str());
    return 0;
}
