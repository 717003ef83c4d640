"""Modules of the page that stand by themselves, one rule a test. They run in the browser."""

import pytest


@pytest.fixture(scope="module")
def page(building, driver):
    import chromium

    page = chromium.Page(driver, building.address)
    page.open()
    return page


def test_a_cells_place_in_the_world_is_the_librarys_on_a_turned_map(page):
    # By hand: cell (3, 1) of 0.5 m lies (1.5, 0.5) from an origin turned by a quarter.
    assert page.run("""
        const { makeGrid } = await load('map/grid.js');
        const grid = makeGrid({ width: 9, height: 9, resolution: 0.5, origin: { x: 10, y: 20, theta: Math.PI / 2 } });
        const world = grid.toWorld({ x: 3.5, y: 1.5 });
        const cell = grid.toCell(world);
        return [world.x, world.y, cell.x, cell.y].map((value) => Number(value.toFixed(9)));
    """) == [9.5, 21.5, 3.5, 1.5]


def test_the_cell_below_the_pointer_stays_there_when_zooming(page):
    assert page.run("""
        const { toCell, zoomed } = await load('map/view.js');
        const size = { width: 800, height: 600 };
        const point = { x: 123, y: 456 };
        const view = { x: 50, y: 40, scale: 3 };
        const before = toCell(view, size, point);
        const nearer = zoomed(view, size, point, 2.5, { smallest: 0.1, largest: 100 });
        const after = toCell(nearer, size, point);
        return nearer.scale === 7.5 && Math.hypot(after.x - before.x, after.y - before.y) < 1e-9;
    """)


def test_zooming_ends_at_its_limits(page):
    assert page.run("""
        const { zoomed } = await load('map/view.js');
        const zoom = (factor) => zoomed({ x: 0, y: 0, scale: 3 }, { width: 8, height: 6 }, { x: 0, y: 0 },
            factor, { smallest: 1, largest: 9 }).scale;
        return [zoom(1e9), zoom(1e-9)];
    """) == [9, 1]


def test_scale_bars_are_one_two_or_five_of_a_power_of_ten(page):
    assert page.run("""
        const { scaleBar } = await load('map/view.js');
        return [0.013, 0.4, 1, 3, 17, 80].map((scale) => {
            const { metres, pixels } = scaleBar({ scale }, 0.05, 160);
            const digit = Number(metres.toExponential().split('e')[0]);
            return pixels <= 160.0001 && pixels > 60 && [1, 2, 5].includes(Math.round(digit * 1e6) / 1e6);
        });
    """) == [True] * 6


def test_pixels_of_a_level_are_no_smaller_than_those_of_the_screen(page):
    assert page.run("""
        const { levelFor } = await load('map/tiles.js');
        return [[4, 6], [1, 6], [0.99, 6], [0.5, 6], [0.26, 6], [0.001, 6]].map((given) => levelFor(...given));
    """) == [0, 0, 1, 1, 2, 5]


def test_a_link_gives_back_the_state_that_it_was_made_of(page):
    assert page.run("""
        const { toFragment, fromFragment } = await load('share/link.js');
        const state = { ...app.store.get(), mode: 'sense', layer: 'cost', searched: false, viewIsChosen: true,
            view: { x: 12.5, y: 3.5, scale: 2.25 }, start: { x: -1.25, y: 8, theta: 0.5 },
            goal: { x: 18, y: 1.625, theta: 0 }, robot: { x: 2, y: 3, theta: -3.1 } };
        state.planner = { ...state.planner, robotRadius: 0.37, neighborhood: 'triple', unknownIsFree: true, coarseFactor: 3 };
        state.scanner = { ...state.scanner, fieldOfView: 95, noise: 0.005 };
        const found = fromFragment('#' + toFragment(state));
        const same = (part) => Object.entries(found[part]).every(([key, value]) => value === state[part][key]);
        return [found.mode, found.layer, found.searched, found.view, found.start, found.goal, found.robot,
            Object.keys(found.planner).sort(), same('planner'), Object.keys(found.scanner).sort(), same('scanner')];
    """) == ["sense", "cost", False, {"x": 12.5, "y": 3.5, "scale": 2.25},
             {"x": -1.25, "y": 8, "theta": 0.5}, {"x": 18, "y": 1.625, "theta": 0},
             {"x": 2, "y": 3, "theta": -3.1},
             ["coarseFactor", "neighborhood", "robotRadius", "unknownIsFree"], True,
             ["fieldOfView", "noise"], True]


def test_what_makes_no_sense_in_a_link_is_left_out(page):
    assert page.run("""
        const { fromFragment } = await load('share/link.js');
        return fromFragment('#mode=fly&start=1&goal=1,x&robot=1,2,3,4&view=1,2,-3&weight=&robotRadius=nan' +
            '&neighborhood=wide&layer=top&scan=-1&accuracy=99&coarseFactor=2.4');
    """) == {"planner": {"accuracy": 1, "coarseFactor": 2}, "scanner": {}}


def test_only_the_newest_of_the_calls_that_wait_is_run(page):
    assert page.run("""
        const { newestOnly } = await load('api.js');
        const ran = [];
        const nap = () => new Promise((go) => setTimeout(go, 5));
        const run = newestOnly(async (value) => { ran.push(value); await nap(); if (value === 3) throw 'no'; },
            (fault) => ran.push(fault));
        const first = run(1);
        run(2);
        run(3);
        await first;
        await run(4);
        return ran;
    """) == [1, 3, "no", 4]


def test_watchers_hear_once_of_several_changes_and_not_of_what_stays(page):
    assert page.run("""
        const { createStore } = await load('state.js');
        const store = createStore({ a: 1, b: 2 });
        const heard = [];
        store.watch(['a'], ({ a }) => heard.push(a));
        store.set({ b: 3 });
        store.set({ a: 1 });
        await null;
        store.set({ a: 2 });
        store.set({ a: 5, b: 1 });
        await null;
        return heard;
    """) == [5]


def test_numbers_are_written_with_a_true_minus_and_no_negative_zero(page):
    assert page.run("""
        const { fixed, duration, plain } = await load('format.js');
        return [fixed(-0.001, 2), fixed(-1.5, 1), duration(0.0421), duration(3.14), duration(250), plain(-0.0004), plain(1.2)];
    """) == ["0.00", "\u22121.5", "42 \u00b5s", "3.1 ms", "250 ms", "0", "1.2"]


def test_words_of_a_command_are_quoted_where_a_shell_needs_it(page):
    assert page.run("""
        const { shellWord } = await load('share/code_plan.js');
        return ['a/b-1.yaml', 'my map.yaml', "it's", '$HOME', ''].map(shellWord);
    """) == ["a/b-1.yaml", "'my map.yaml'", "'it'\\''s'", "'$HOME'", "''"]


def test_thinning_a_plot_keeps_its_lowest_places(page):
    assert page.run("""
        const { thinned } = await load('panel/plot.js');
        const samples = Array.from({ length: 1000 }, (_, i) => ({ value: i === 777 ? 0.1 : 1 }));
        const few = thinned(samples, 60);
        return [few.length <= 60, few.filter(({ value }) => value === 0.1).length];
    """) == [True, 1]
