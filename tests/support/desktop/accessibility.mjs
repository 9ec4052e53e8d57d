// The application as a screen reader sees it, through a private accessibility bus (AT-SPI).

import { execFile } from 'node:child_process';
import { existsSync } from 'node:fs';
import { inspect, promisify } from 'node:util';

import { openBus } from './bus.mjs';
import { waitFor } from './wait.mjs';

const run = promisify(execFile);

/// The program that prints the widgets, print_accessible_widgets.cc.
const widgetPrinter = process.env.ORVEL_PRINT_ACCESSIBLE_WIDGETS;

/// The services of at-spi2-core that an accessibility bus starts, above all the registry.
const servicesFolder = '/usr/share/dbus-1/accessibility-services';

export class Accessibility {
  /// Starts an accessibility bus for the programs on a screen. The bus is their session bus too,
  /// because GTK builds the object paths of widgets from the application's object path, which an
  /// application without a session bus lacks.
  static async open(screen) {
    if (!widgetPrinter || !existsSync(widgetPrinter)) {
      throw new Error('ORVEL_PRINT_ACCESSIBLE_WIDGETS does not name a program');
    }
    if (!existsSync(servicesFolder)) throw new Error('at-spi2-core is not installed');
    const accessibility = new Accessibility();
    accessibility.screen = screen;
    accessibility.bus = await openBus({
      services: servicesFolder, environment: screen.environment,
    });
    const { address } = accessibility.bus;
    accessibility.environment = { DBUS_SESSION_BUS_ADDRESS: address, AT_SPI_BUS_ADDRESS: address };
    return accessibility;
  }

  close() {
    return this.bus.close();
  }

  /// Returns the widgets of all windows, parents first: `role`, `name`, `description`,
  /// `focused`, `enabled`, and `extents`, which are relative to the window. The names that GTK
  /// and WebKit give are English in the locale of the tests.
  async widgets() {
    const environment = { ...this.screen.environment, ...this.environment };
    return JSON.parse((await run(widgetPrinter, { env: environment })).stdout);
  }

  /// Returns the first widget whose properties equal these values or match these regular
  /// expressions, or undefined.
  async findWidget(expected) {
    return (await this.widgets()).find((widget) =>
      Object.entries(expected).every(([name, value]) =>
        value instanceof RegExp ? value.test(widget[name]) : widget[name] === value));
  }

  /// Waits until findWidget() finds a widget, and returns it.
  awaitWidget(expected) {
    return waitFor(`a widget with ${inspect(expected)}`, () => this.findWidget(expected));
  }

  /// Waits for a widget, which must be in this X11 window, and clicks its middle.
  async click(window, expected) {
    const { extents } = await this.awaitWidget(expected);
    const { x, y } = await this.screen.geometry(window);
    await this.screen.click(x + extents.x + extents.width / 2, y + extents.y + extents.height / 2);
  }
}
